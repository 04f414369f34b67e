// CXMLPrivateProfile: INI-style typed values (section + key) kept in an XML file.
//
// Sections are element paths below the root element ("a/b" and "a\\b" are the same path);
// a key is a child element of the section holding the value as text, or, when it starts with
// "@", an attribute of the section element. Every value is stored as text:
//   string   as given               int, bool   "%d"            unsigned long   "%lu"
//   double   "%.10f" with trailing "0"s and then a trailing "." removed, or, when exact,
//            "0x" + the 8 bytes of the double in memory order as upper-case hex digits
//   points and vectors   their coordinates as doubles joined with ","
//   binary block         "0x" + two upper-case hex digits per byte
//
// States: no document, a loading document, or a storing document. The document is opened on
// the first read or write in the mode it needs and stays open until Close(), SetPathName(), the
// destructor or a change of mode. A storing document reaches the disk (atomically) only when it
// is closed, so a read after writes saves first, and a write after reads reloads the file into a
// storing document. The last section used is cached.
//
// Failure: a missing file, section or key reads as the default with result 0. A file that does
// not parse (or whose root element has another name) fails both modes: reads give defaults and
// writes are dropped, so a damaged file is never overwritten. Close() tells whether every change
// made since the last Close() reached the file. Nothing throws.
//
// Copies share one document (the copy and the original see each other's writes); closing either
// closes it for both.
#ifndef KW_PERSIST_XMLPRIVATEPROFILE_H_
#define KW_PERSIST_XMLPRIVATEPROFILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/api/ge.h"

class CXMLPrivateProfile {
 public:
  // A profile holds settings: a larger file is not loaded (it counts as damaged), so that
  // reading one never costs more memory than a few dozen times this.
  static constexpr uint64_t kMaxFileBytes = 4u << 20;

  CXMLPrivateProfile();
  CXMLPrivateProfile(const wchar_t* pathName, const wchar_t* rootName);
  ~CXMLPrivateProfile();

  // Closes the current document, then remembers the file and root element name (nothing is
  // opened yet).
  void SetPathName(const wchar_t* pathName, const wchar_t* rootName);
  // Writes a storing document to the file, then forgets the document. False when a change made
  // since the last Close() did not reach the file: the file could not be written (the previous
  // one is then kept), it was damaged (changes to it are dropped), or a section or key name is
  // not an XML name. The destructor and SetPathName() close without reporting.
  bool Close();

  void WriteValue(const wchar_t* section, const wchar_t* key, const wchar_t* value);
  void WriteValue(const wchar_t* section, const wchar_t* key, int value);
  void WriteValue(const wchar_t* section, const wchar_t* key, unsigned long value);
  void WriteValue(const wchar_t* section, const wchar_t* key, bool value);
  void WriteValue(const wchar_t* section, const wchar_t* key, double value, int bExact);
  void WriteValue(const wchar_t* section, const wchar_t* key, const AcGePoint3d& value, int bExact);
  void WriteValue(const wchar_t* section, const wchar_t* key, const AcGePoint2d& value, int bExact);
  void WriteValue(const wchar_t* section, const wchar_t* key, const AcGeVector3d& value,
                  int bExact);
  void WriteValue(const wchar_t* section, const wchar_t* key, const AcGeVector2d& value,
                  int bExact);
  void WriteValue(const wchar_t* section, const wchar_t* key, const void* data, int size);

  // Non-zero when the key holds a non-empty text that was read. On 0 the typed overloads store
  // the default; the string overload stores defaultValue when it is not null (else the empty
  // text); points and vectors are left unchanged.
  int ReadValue(const wchar_t* section, const wchar_t* key, std::wstring& value,
                const wchar_t* defaultValue) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, int& value, int defaultValue) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, unsigned long& value,
                unsigned long defaultValue) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, bool& value, bool defaultValue) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, double& value,
                double defaultValue) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, AcGePoint3d& value) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, AcGePoint2d& value) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, AcGeVector3d& value) const;
  int ReadValue(const wchar_t* section, const wchar_t* key, AcGeVector2d& value) const;
  // Only a text starting with "0x"/"0X" is read: its bytes fill data (at most size bytes).
  int ReadValue(const wchar_t* section, const wchar_t* key, void* data, int size) const;

  // The names of the section's values (null or "" is the root element): attributes as "@name",
  // then child elements. keys is emptied first.
  void GetAllKey(const wchar_t* section, std::vector<std::wstring>& keys) const;
  // Calls visit(key, text) for every value of the section that holds a non-empty text, keys
  // named as GetAllKey names them and in its order. A key repeated in the section comes once
  // per occurrence, the first being the one ReadValue reads. Nothing when the file or the
  // section is missing. One pass over the loaded file: the way to read a whole section at once.
  void VisitValues(
      const wchar_t* section,
      const std::function<void(const std::wstring& key, const std::wstring& text)>& visit) const;
  void RemoveKey(const wchar_t* section, const wchar_t* key);
  void RemoveSection(const wchar_t* section);

  // The text forms of a double (exposed for the user-variable table, which writes the same).
  static std::wstring FormatDouble(double value, bool bExact);
  static double ParseDouble(const std::wstring& text);

 private:
  struct Impl;
  std::shared_ptr<Impl> m_pImpl;
};

#endif  // KW_PERSIST_XMLPRIVATEPROFILE_H_
