#include "styles/LayerInfo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "styles/internal/StylesTestWorld.h"

namespace {

using Names = std::vector<std::wstring>;
using Boxes = std::vector<std::wstring>;

AcCmColor Index(int index) {
  AcCmColor c;
  c.setColorIndex(static_cast<Adesk::UInt16>(index));
  return c;
}

class LayerNameChecks : public StylesWorld {};

TEST_F(LayerNameChecks, CountFiftyCharactersAfterTrimmingAndRefuseTheFiftyFirst) {
  const std::wstring fifty(50, L'路');
  EXPECT_TRUE(KWRDPub::CheckLayerName((L"  " + fifty + L"\t").c_str()));
  EXPECT_FALSE(KWRDPub::CheckLayerName((fifty + L"x").c_str()));
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            (Boxes{L"[凯维提示] 图层名称:" + fifty + L"x, \n长度超过50个字节, 请简化!"}));
}

TEST_F(LayerNameChecks, RefuseEmptyNamesAndEveryInvalidCharacterWithTheirMessages) {
  EXPECT_FALSE(KWRDPub::CheckLayerName(L"   "));
  EXPECT_FALSE(KWRDPub::CheckLayerName(L"a,b"));
  EXPECT_FALSE(KWRDPub::CheckObjName(nullptr));
  EXPECT_FALSE(KWRDPub::CheckObjName(L" a,b "));
  EXPECT_EQ(
      kwhost::TakeMessageBoxes(),
      (Boxes{L"[凯维提示] 请填写图层名称!",
             L"[凯维提示] 图层名称中:a,b, 包含无效字符, 例如: <>/\\\":;?*|,=`, \n请检查图层名!",
             L"[凯维提示] 名称不能为空!",
             L"[凯维提示] 名称中:a,b, 包含无效字符, 例如: <>/\\\":;?*|,=`"}));
  for (wchar_t c : std::wstring(L"<>/\\\":;?*|,=`")) {
    const std::wstring name = std::wstring(L"x") + c;
    EXPECT_FALSE(KWRDPub::CheckLayerName(name.c_str())) << name;
    EXPECT_FALSE(KWRDPub::CheckObjName(name.c_str())) << name;
  }
  EXPECT_TRUE(KWRDPub::CheckObjName(std::wstring(80, L'a').c_str()));
}

class LayerDisplayNames : public StylesWorld {};

TEST_F(LayerDisplayNames, NameColoursByMethodIndexAndComponents) {
  AcCmColor byLayer;
  AcCmColor byBlock;
  byBlock.setByBlock();
  AcCmColor rgb;
  rgb.setRGB(12, 34, 255);
  EXPECT_EQ(KWRDPub::GetColorName(byLayer), L"ByLayer");
  EXPECT_EQ(KWRDPub::GetColorName(byBlock), L"ByBlock");
  EXPECT_EQ(KWRDPub::GetColorName(Index(1)), L"红色");
  EXPECT_EQ(KWRDPub::GetColorName(Index(7)), L"白色");
  EXPECT_EQ(KWRDPub::GetColorName(Index(9)), L"9");
  EXPECT_EQ(KWRDPub::GetColorName(rgb), L"12,34,255");
}

TEST_F(LayerDisplayNames, ReadColourNamesWithTheIntendedAsymmetry) {
  EXPECT_EQ(KWRDPub::GetColorFromName(L"9"), Index(9));
  EXPECT_EQ(KWRDPub::GetColorFromName(L"洋红"), Index(6));
  EXPECT_TRUE(KWRDPub::GetColorFromName(L"bylayer").isByLayer());
  EXPECT_TRUE(KWRDPub::GetColorFromName(L"BYBLOCK").isByBlock());
  EXPECT_EQ(KWRDPub::GetColorFromName(L"256"), Index(256));
  EXPECT_EQ(KWRDPub::GetColorFromName(L"300").color(), 300u);
  const AcCmColor rgb = KWRDPub::GetColorFromName(L"12,34");
  EXPECT_TRUE(rgb.isByColor());
  EXPECT_EQ(rgb.red(), 12);
  EXPECT_EQ(rgb.green(), 34);
  EXPECT_EQ(rgb.blue(), 255);
  EXPECT_EQ(KWRDPub::GetColorFromName(L"-1").color(), 0xFFFFFFFFu);
  EXPECT_EQ(KWRDPub::GetColorFromName(nullptr), Index(0));
}

TEST_F(LayerDisplayNames, NameLineweightsAndLinetypes) {
  EXPECT_EQ(KWRDPub::GetLineWeightName(AcDb::kLnWtByLwDefault), L"默认");
  EXPECT_EQ(KWRDPub::GetLineWeightName(AcDb::kLnWtByBlock), L"ByBlock");
  EXPECT_EQ(KWRDPub::GetLineWeightName(AcDb::kLnWtByLayer), L"ByLayer");
  EXPECT_EQ(KWRDPub::GetLineWeightName(AcDb::kLnWt025), L"0.25毫米");
  EXPECT_EQ(KWRDPub::GetLineWeightName(AcDb::kLnWt211), L"2.11毫米");
  EXPECT_EQ(KWRDPub::GetLineTypeName(Db()->continuousLinetype()), L"Continuous");
  EXPECT_EQ(KWRDPub::GetLineTypeName(Db()->byLayerLinetype()), L"ByLayer");
  EXPECT_EQ(KWRDPub::GetLineTypeName(AcDbObjectId::kNull), L"Continuous");
  EXPECT_EQ(KWRDPub::GetLineTypeName(Db()->layerTableId()), L"Continuous");
}

class LayerDescriptors : public StylesWorld {
 protected:
  static CLayerInfo Road() {
    CLayerInfo info(L"Road");
    info.m_color = Index(1);
    info.m_lineWeight = AcDb::kLnWt035;
    info.m_bLocked = true;
    return info;
  }
};

TEST_F(LayerDescriptors, CreateAMissingLayerAndReadItBack) {
  CLayerInfo info = Road();
  const AcDbObjectId id = info.LayerId();
  ASSERT_FALSE(id.isNull());
  const CLayerInfo back(L"road", true);
  EXPECT_EQ(back.m_strLineType, L"Continuous");
  EXPECT_EQ(back.m_color, Index(1));
  EXPECT_EQ(back.m_lineWeight, AcDb::kLnWt035);
  EXPECT_TRUE(back.m_bLocked);
  EXPECT_FALSE(back.m_bFrozen || back.m_bOff);
  Names names;
  ASSERT_EQ(KWRDPub::GetAllLayerName(names), Acad::eOk);
  EXPECT_EQ(names, (Names{L"0", L"Road"}));
}

TEST_F(LayerDescriptors, AnAgreeingLayerIsNotOpenedForWrite) {
  CLayerInfo info = Road();
  const AcDbObjectId id = info.LayerId();
  // A second reader makes every write attempt fail: only a layer that needs no write keeps
  // giving its id.
  AcDbObjectPointer<AcDbLayerTableRecord> reader(id, AcDb::kForRead);
  ASSERT_EQ(reader.openStatus(), Acad::eOk);
  EXPECT_EQ(info.LayerId(), id);
  info.m_bOff = true;
  EXPECT_TRUE(info.LayerId().isNull());
  reader.close();
  EXPECT_EQ(info.LayerId(), id);
  EXPECT_TRUE(CLayerInfo(L"Road", true).m_bOff);
}

TEST_F(LayerDescriptors, ALinetypeTheDrawingLacksIsLoadedAndTakenByTheNextCall) {
  // The lookup loads "HIDDEN" from the standard linetype file yet answers "Continuous" on the
  // call that loads it; the layer follows on the next call, which finds it in the drawing.
  CLayerInfo info = Road();
  info.m_strLineType = L"hidden";
  const AcDbObjectId id = info.LayerId();
  ASSERT_FALSE(id.isNull());
  EXPECT_EQ(CLayerInfo(L"Road", true).m_strLineType, L"Continuous");
  EXPECT_EQ(info.LayerId(), id);
  EXPECT_EQ(CLayerInfo(L"Road", true).m_strLineType, L"HIDDEN");
}

TEST_F(LayerDescriptors, AnEmptyLinetypeNameLeavesTheLayersLinetypeAlone) {
  CLayerInfo info = Road();
  info.LayerId();
  info.m_strLineType = L"";
  info.m_bFrozen = true;
  ASSERT_FALSE(info.LayerId().isNull());
  const CLayerInfo back(L"Road", true);
  EXPECT_TRUE(back.m_bFrozen);
  EXPECT_EQ(back.m_strLineType, L"Continuous");
}

TEST_F(LayerDescriptors, EmptyNamesAndUnknownLayersSayOrChangeNothing) {
  CLayerInfo empty(L"", true);
  EXPECT_TRUE(empty.LayerId().isNull());
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            (Boxes{L"[凯维提示] 图层名为空", L"[凯维提示] 图层名为空,不能创建图层"}));
  CLayerInfo unknown = Road();
  unknown.SetLayer(L"Nowhere", true);
  EXPECT_EQ(unknown.m_color, Index(1));
  EXPECT_EQ(unknown.m_strLineType, L"CONTINUOUS");
}

TEST_F(LayerDescriptors, LineweightsFromMillimetresPassSpecialValuesThrough) {
  Road().LayerId();
  EXPECT_TRUE(KWRDPub::SetLayerLineWeight(L"Road", 0.25));
  EXPECT_EQ(CLayerInfo(L"Road", true).m_lineWeight, AcDb::kLnWt025);
  EXPECT_TRUE(KWRDPub::SetLayerLineWeight(L"road", -1));
  EXPECT_EQ(CLayerInfo(L"Road", true).m_lineWeight, AcDb::kLnWtByLayer);
  EXPECT_FALSE(KWRDPub::SetLayerLineWeight(L"Road", 0.26));
  EXPECT_FALSE(KWRDPub::SetLayerLineWeight(L"Road", 1e300));
  EXPECT_FALSE(KWRDPub::SetLayerLineWeight(L"Road", std::nan("")));
  EXPECT_FALSE(KWRDPub::SetLayerLineWeight(L"Nowhere", 0.25));
  EXPECT_EQ(CLayerInfo(L"Road", true).m_lineWeight, AcDb::kLnWtByLayer);
}

TEST_F(LayerDescriptors, ListingWithoutADrawingGivesTheNoDatabaseStatus) {
  Names names{L"stale"};
  kwhost::CloseAllDocuments();
  EXPECT_EQ(KWRDPub::GetAllLayerName(names), Acad::eNoDatabase);
  EXPECT_EQ(names, Names{});
}

}  // namespace
