// A filter of drawing objects by run-time class: an allow list and a reject list of classes,
// both tested kind-of (a class and everything derived from it).
#ifndef KW_EDITOR_CFILTERBYCLASS_H_
#define KW_EDITOR_CFILTERBYCLASS_H_

#include <list>

#include "host/api/dbmain.h"

// Rule: an object whose class derives from a rejected class is refused; otherwise it is allowed
// when the allow list is empty or its class derives from an allowed class. Reject wins.
// A class is in at most one of the two lists, each list in the order the classes were added.
// The filter does not own the classes (they live for the process).
class CFilterByClass {
 public:
  CFilterByClass();
  ~CFilterByClass();

  // Takes the class out of the reject list and appends it to the allow list once. Null is
  // ignored.
  void AddAllowClass(AcRxClass* cls);
  // The mirror image: out of the allow list, into the reject list once.
  void AddRejectClass(AcRxClass* cls);

  // The rule on the object; false for null.
  bool IsAllow(const AcDbObject* object) const;
  // Opens the object for read and applies the rule; false when it cannot be opened.
  bool IsAllow(AcDbObjectId id) const;
  // Removes every id that is not allowed; the others keep their order.
  void FilterObjs(AcDbObjectIdArray& ids) const;

  // An empty filter: allows every object.
  static const CFilterByClass kNull;

 private:
  std::list<AcRxClass*> m_allow;
  std::list<AcRxClass*> m_reject;
};

#endif  // KW_EDITOR_CFILTERBYCLASS_H_
