// Layers: CLayerInfo, a layer the suite wants in the drawing, which makes the working drawing
// agree with it on demand; and the KWRDPub helpers that check user-typed layer and object
// names, set a layer's lineweight from millimetres, list layer names, and turn lineweights,
// colours and linetypes into display names and back.
//
// User messages are message boxes titled "凯维提示" with the information icon: owned by the
// host's main frame (CLayerInfo) or by the window handed in (the checks; null: no owner).
// Host failures give a null id, false or an unchanged descriptor; nothing throws.
#ifndef KW_STYLES_LAYERINFO_H_
#define KW_STYLES_LAYERINFO_H_

#include <string>
#include <vector>

#include "host/api/dbcolor.h"
#include "host/api/dbid.h"
#include "host/api/dbmain.h"
#include "host/api/win.h"

// A layer descriptor: plain values, copied freely.
class CLayerInfo {
 public:
  // Defaults (linetype "CONTINUOUS", colour 7, the default lineweight, thawed, unlocked, on)
  // and the name; with bInit the fields are then read from the drawing's layer of that name.
  explicit CLayerInfo(const wchar_t* name = L"", bool bInit = false);
  CLayerInfo(const CLayerInfo& other) = default;
  CLayerInfo& operator=(const CLayerInfo& other) = default;

  // Sets the name; with bInit the fields are then read from the drawing's layer of that name.
  void SetLayer(const wchar_t* name, bool bInit);
  // Makes the working drawing's layer match this descriptor, creating it when missing, and
  // gives its id. A layer that already agrees is not opened for write. The linetype goes
  // through the line style lookup, which restores a missing linetype (else "Continuous"). A
  // null id for an empty name (after the message "图层名为空,不能创建图层") or when the drawing
  // refuses.
  AcDbObjectId LayerId();

  std::wstring m_strName;
  std::wstring m_strLineType = L"CONTINUOUS";
  AcCmColor m_color = DefaultColor();
  AcDb::LineWeight m_lineWeight = AcDb::kLnWtByLwDefault;
  bool m_bFrozen = false;
  bool m_bLocked = false;
  bool m_bOff = false;

 private:
  static AcCmColor DefaultColor() {
    AcCmColor color;
    color.setColorIndex(7);
    return color;
  }
  // Reads the fields from the working drawing's layer of m_strName; an unknown layer leaves
  // them unchanged; an empty name shows "图层名为空".
  void InitByLayerName();
  // Updates an existing layer; null id when a needed write is refused.
  AcDbObjectId UpdateLayer(AcDbObjectId id);
  AcDbObjectId CreateLayer(AcDbLayerTable& table);
};

namespace KWRDPub {

// A user-typed layer name, blanks trimmed at both ends: false, after its message box, when it
// is empty ("请填写图层名称!"), longer than 50 characters, or holds one of <>/\":;?*|,=`.
bool CheckLayerName(const wchar_t* name, HWND owner = nullptr);
// The same for other object names, without the length limit ("名称不能为空!", "名称中:...").
bool CheckObjName(const wchar_t* name, HWND owner = nullptr);
// Sets the working drawing's layer `layer` to mm millimetres (mm * 100 truncated; 0 and
// below pass through truncated: -1 ByLayer, -2 ByBlock, -3 default). False when the layer
// does not open for write or the host refuses the value (not a lineweight, not finite).
bool SetLayerLineWeight(const wchar_t* layer, double mm);
// Replaces `names` by the layer names of `db` (null: the working database) in table order.
// eOk; eNoDatabase when there is none; the table's open status (printed as
// "读取数据库出错,出错代码=N") when it does not open.
Acad::ErrorStatus GetAllLayerName(std::vector<std::wstring>& names, AcDbDatabase* db = nullptr);
// "默认", "ByBlock", "ByLayer" for -3, -2, -1; else the millimetres, "0.25毫米".
std::wstring GetLineWeightName(AcDb::LineWeight weight);
// "ByLayer", "ByBlock", the seven colour words for indexes 1-7, another index as its number,
// a true colour as "R,G,B".
std::wstring GetColorName(const AcCmColor& color);
// The colour a name stands for (ignoring case): "ByLayer", "ByBlock", the colour words,
// "R,G,B" (a missing component is 255), or a number: an index up to 256, above that (taken
// as unsigned) the raw colour value.
AcCmColor GetColorFromName(const wchar_t* name);
// The name of the linetype record `id`, or "Continuous" when it does not open.
std::wstring GetLineTypeName(const AcDbObjectId& id);

}  // namespace KWRDPub

#endif  // KW_STYLES_LAYERINFO_H_
