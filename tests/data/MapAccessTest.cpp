#include "data/MapAccess.h"

#include <gtest/gtest.h>

#include "data/FakeData.h"
#include "support/CapturedMessages.h"

namespace orlinths {
namespace {

class MapAccess : public ::testing::Test {
 protected:
  Texts Combo(int kind) {
    ListedItems list;
    const int count = ListLayers(kind, list);
    EXPECT_EQ(count, static_cast<int>(list.items.size()));
    return list.items;
  }
  Texts ListBox(int kind) {
    ListedItems list;
    const int count = ListLayersInListBox(kind, list);
    EXPECT_EQ(count, static_cast<int>(list.items.size()));
    return list.items;
  }
  /// One layer of every sort, some of them in a group in a group.
  void FillMap() {
    const auto group = std::make_shared<IGroupLayer>("group");
    const auto inner = std::make_shared<IGroupLayer>("inner");
    inner->layers = {FakeLayer("lines", GeometryType::kPolyline),
                     FakeLayer("oneline", GeometryType::kLine)};
    group->layers = {inner, FakeLayer("zones", GeometryType::kPolygon)};
    map.Append(FakeLayer("points", GeometryType::kPoint));
    map.Append(group);
    map.Append(FakeLayer("multi", GeometryType::kMultipoint));
    map.Append(Raster("a.gis", PixelType::kUInt8, 1));
    map.Append(Raster("two.gis", PixelType::kUInt8, 2));
    map.Append(Raster("float.gis", PixelType::kFloat, 1));
    map.Append(Raster("CAPS.GIS", PixelType::kInt32, 1));
    map.Append(Raster("dem.tif", PixelType::kDouble, 1));
  }
  static LayerPtr Raster(const std::string& name, PixelType type, int bands) {
    return std::make_shared<IRasterLayer>(std::make_shared<FakeRaster>(name, type, bands));
  }
  FocusedMap map;
  CapturedMessages messages;
};

TEST_F(MapAccess, SaysWhatKindOfLayerEachItemNames) {
  FillMap();
  ListedItems combo, list;
  ListLayers(1, combo);
  using enum ItemKind;
  const std::vector<ItemKind> expected = {kPointLayer,  kOtherLayer,   kOtherLayer,  kLineLayer,
                                          kLineLayer,   kPolygonLayer, kPointLayer,  kRasterLayer,
                                          kRasterLayer, kRasterLayer,  kRasterLayer, kRasterLayer};
  EXPECT_EQ(combo.kinds, expected);
  ListLayersInListBox(1, list);
  EXPECT_EQ(list.kinds, expected);
}

TEST_F(MapAccess, ListsEachKindInDrawingOrder) {
  FillMap();
  EXPECT_EQ(Combo(1), (Texts{"points", "group", "inner", "lines", "oneline", "zones", "multi",
                             "a.gis", "two.gis", "float.gis", "CAPS.GIS", "dem.tif"}));
  EXPECT_EQ(Combo(2), (Texts{"points", "lines", "oneline", "zones", "multi"}));
  EXPECT_EQ(Combo(3), (Texts{"points"}));
  EXPECT_EQ(Combo(4), (Texts{"lines", "oneline"}));
  EXPECT_EQ(Combo(5), (Texts{"zones"}));
  EXPECT_EQ(Combo(6), (Texts{"a.gis", "two.gis", "float.gis", "CAPS.GIS", "dem.tif"}));
  EXPECT_EQ(Combo(7), (Texts{"a.gis"}));
  EXPECT_EQ(Combo(8), (Texts{"a.gis", "two.gis", "CAPS.GIS"}));
  EXPECT_EQ(Combo(9), Texts{});
  EXPECT_EQ(Combo(10), Texts{});
  EXPECT_EQ(Combo(11), (Texts{"points", "lines", "oneline", "zones", "multi"}));
  for (const int kind : {0, -1, 12, 99}) EXPECT_EQ(Combo(kind), Texts{}) << kind;
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, ListBoxTakesMultipointsAmongThePointsAndNoKindAbove8) {
  FillMap();
  for (const int kind : {1, 2, 4, 5, 6, 7, 8}) EXPECT_EQ(ListBox(kind), Combo(kind)) << kind;
  EXPECT_EQ(ListBox(3), (Texts{"points", "multi"}));
  map.AppendTable(
      std::make_shared<IStandaloneTable>(std::make_shared<FakeClass>("t", GeometryType::kNull)));
  for (const int kind : {0, 9, 10, 11}) EXPECT_EQ(ListBox(kind), Texts{}) << kind;
}

/// What a host may offer: a table that stands among the layers.
struct TableAsLayer : ILayer, IStandaloneTable {
  explicit TableAsLayer(const std::string& name) : ILayer(name), IStandaloneTable(name, "") {}
  bool Valid() const override { return true; }
};

TEST_F(MapAccess, TablesAreListedAmongLayersOnlyWhereALayerOffersOne) {
  map.Append(FakeLayer("points", GeometryType::kPoint));
  map.Append(std::make_shared<TableAsLayer>("table layer"));
  map.AppendTable(std::make_shared<IStandaloneTable>(
      std::make_shared<FakeClass>("plain", GeometryType::kNull)));
  EXPECT_EQ(Combo(9), (Texts{"table layer"}));
  EXPECT_EQ(Combo(11), (Texts{"points", "table layer"}));
}

TEST_F(MapAccess, Kind10WantsExactlyOneSelectedPolygon) {
  const auto zones = FakeLayer("zones", GeometryType::kPolygon);
  const auto points = FakeLayer("points", GeometryType::kPoint);
  map.Append(zones);
  map.Append(points);
  points->AddToSelection(1);
  EXPECT_EQ(Combo(10), Texts{});
  zones->AddToSelection(3);
  EXPECT_EQ(Combo(10), (Texts{"zones"}));
  zones->AddToSelection(4);
  EXPECT_EQ(Combo(10), Texts{});
}

TEST_F(MapAccess, ABrokenFirstLayerEmptiesEveryList) {
  map.Append(std::make_shared<IFeatureLayer>("broken", "/not/there.shp"));
  map.Append(FakeLayer("points", GeometryType::kPoint));
  for (int kind = 1; kind <= 11; ++kind) EXPECT_EQ(Combo(kind), Texts{});
  for (int kind = 1; kind <= 8; ++kind) EXPECT_EQ(ListBox(kind), Texts{});
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, ADeletedDatasetIsABrokenLayer) {
  const auto sites = std::make_shared<FakeClass>("sites", GeometryType::kPolygon);
  const auto layer = std::make_shared<IFeatureLayer>(sites);
  layer->AddToSelection(3);
  map.Append(FakeLayer("zones", GeometryType::kPolygon));
  map.Append(layer);
  sites->exists = false;
  EXPECT_EQ(Combo(5), (Texts{"zones"}));
  EXPECT_EQ(Combo(10), Texts{});
  EXPECT_EQ(Combo(2), (Texts{"zones", "sites"})) << "a feature layer all the same";
  EXPECT_EQ(ListBox(5), (Texts{"zones"}));
  map.AddLayer(layer);
  for (int kind = 1; kind <= 11; ++kind) EXPECT_EQ(Combo(kind), Texts{});
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, ADeletedDatasetGivesTheMapNoReference) {
  const auto gone = std::make_shared<FakeClass>("gone", GeometryType::kPoint);
  const auto zones = std::make_shared<FakeClass>("zones", GeometryType::kPolygon);
  zones->reference = std::make_shared<NamedReference>(32631);
  gone->exists = false;
  map.Append(std::make_shared<IFeatureLayer>(gone));
  map.Append(std::make_shared<IFeatureLayer>(zones));
  EXPECT_EQ(map.SpatialReference()->FactoryCode(), 32631);
}

TEST_F(MapAccess, ABrokenLayerFurtherDownIsOnlyNotOfAnyKindThatAsksForItsData) {
  map.Append(FakeLayer("points", GeometryType::kPoint));
  map.Append(std::make_shared<IFeatureLayer>("broken", "/not/there.shp"));
  map.Append(std::make_shared<IRasterLayer>("broken.gis", "/not/there.gis"));
  EXPECT_EQ(Combo(1), (Texts{"points", "broken", "broken.gis"}));
  EXPECT_EQ(Combo(2), (Texts{"points", "broken"}));
  EXPECT_EQ(Combo(3), (Texts{"points"}));
  EXPECT_EQ(Combo(6), (Texts{"broken.gis"}));
  EXPECT_EQ(Combo(7), Texts{});
  EXPECT_EQ(Combo(8), Texts{});
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, AnEmptyMapListsNothingSilently) {
  EXPECT_EQ(Combo(1), Texts{});
  EXPECT_EQ(ListBox(1), Texts{});
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, ANameThatStandsTwiceIsListedTwiceAndFoundOnce) {
  const auto top = FakeLayer("same", GeometryType::kPoint);
  map.Append(top);
  map.Append(FakeLayer("same", GeometryType::kPoint));
  EXPECT_EQ(Combo(3), (Texts{"same", "same"}));
  EXPECT_EQ(GetLayerByName("same"), top);
}

TEST_F(MapAccess, ListLayersReportsFailuresWithItsLetterAndKeepsTheCount) {
  map.Append(FakeLayer("a", GeometryType::kPoint));
  map.Append(FakeLayer("b", GeometryType::kPoint));
  ListedItems list;
  list.failAt = 1;
  EXPECT_EQ(ListLayers(3, list), 1);
  EXPECT_EQ(messages.All(),
            (std::vector<Message>{{"ListLayers: B\r7\rOut of memory", kCritical, "Error"}}));
  messages.Clear();
  gMap = nullptr;
  EXPECT_EQ(ListLayers(3, list), 0);
  EXPECT_EQ(messages.Text(),
            (Texts{"ListLayers: A\r91\rObject variable or With block variable not set"}));
  EXPECT_THROW(ListLayersInListBox(3, list), RuntimeError) << "has no report of its own";
}

TEST_F(MapAccess, ListSATablesNamesTheValidAndCountsAll) {
  map.AppendTable(
      std::make_shared<IStandaloneTable>(std::make_shared<FakeClass>("t1", GeometryType::kNull)));
  map.AppendTable(std::make_shared<IStandaloneTable>("broken", "/not/there.dbf"));
  map.AppendTable(
      std::make_shared<IStandaloneTable>(std::make_shared<FakeClass>("t2", GeometryType::kNull)));
  ListedItems list;
  EXPECT_EQ(ListSATables(list), 3);
  EXPECT_EQ(list.items, (Texts{"t1", "t2"}));
  list.failAt = 2;
  EXPECT_EQ(ListSATables(list), 3);
  EXPECT_EQ(messages.Text(), (Texts{"ListSATables: C\r7\rOut of memory"}));
  messages.Clear();
  gMap = nullptr;
  EXPECT_EQ(ListSATables(list), 0);
  EXPECT_EQ(messages.Text(),
            (Texts{"ListSATables: A\r91\rObject variable or With block variable not set"}));
}

TEST_F(MapAccess, FindsByExactName) {
  FillMap();
  map.AppendTable(
      std::make_shared<IStandaloneTable>(std::make_shared<FakeClass>("t1", GeometryType::kNull)));
  EXPECT_EQ(GetLayerByName("lines")->Name(), "lines");
  EXPECT_EQ(GetFeatureLayerByName("zones")->ShapeType(), GeometryType::kPolygon);
  EXPECT_EQ(GetRasterLayerByName("dem.tif")->BandCount(), 1);
  const auto numberOf = [](auto call) {
    try {
      call();
    } catch (const RuntimeError& error) {
      return error.Number();
    }
    return 0;
  };
  EXPECT_EQ(numberOf([] { GetLayerByName("Lines"); }), 91);
  EXPECT_EQ(numberOf([] { GetLayerByName(""); }), 91);
  EXPECT_EQ(numberOf([] { GetFeatureLayerByName("dem.tif"); }), 13);
  EXPECT_EQ(numberOf([] { GetRasterLayerByName("zones"); }), 13);
  EXPECT_EQ(numberOf([] { GetFeatureLayerByName("gone"); }), 91);
  EXPECT_EQ(GetTableByName("t1")->Name(), "t1");
  EXPECT_EQ(GetTableByName("T1"), nullptr);
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(MapAccess, ComparesReferencesByCodeAlone) {
  FakeClass a("a", GeometryType::kPoint), b("b", GeometryType::kPoint);
  EXPECT_EQ(CheckSpatialReferenceSame(&a, &b), 1);
  b.reference = std::make_shared<NamedReference>(32632);
  EXPECT_EQ(CheckSpatialReferenceSame(&a, &b), 0);
  b.reference = std::make_shared<NamedReference>(0);
  EXPECT_EQ(CheckSpatialReferenceSame(&a, &b), -1);
  a.reference = b.reference;
  EXPECT_EQ(CheckSpatialReferenceSame(&a, &b), -1) << "the very same, but without a code";
  EXPECT_EQ(CheckSpatialReferenceSame(nullptr, &b), 0);
  EXPECT_EQ(CheckSpatialReferenceSame(&a, nullptr), 0);
  EXPECT_EQ(messages.Text(), Texts{});
}

struct FailingDataset : IGeoDataset {
  SpatialReferencePtr SpatialReference() const override { throw RuntimeError::Platform("gone"); }
  Envelope Extent() const override { return {}; }
};

TEST_F(MapAccess, ComparisonReportsFailures) {
  const FailingDataset failing;
  EXPECT_EQ(CheckSpatialReferenceSame(&failing, &failing), 0);
  EXPECT_EQ(messages.Text(), (Texts{"CheckSpatialReferenceSame: \r-2147467259\rgone"}));
}

struct OneView : IMxDocument, IActiveView {
  IMap* FocusMap() override { return nullptr; }
  IActiveView& ActiveView() override { return *this; }
  void Refresh() override { ++refreshed; }
  void RefreshSelection() override {}
  Envelope Extent() const override { return {}; }
  void SetExtent(const Envelope&) override {}
  Point ToMapPoint(int, int) const override { return {}; }
  int refreshed = 0;
};

TEST_F(MapAccess, AddsALayerOnTopAndRefreshesTheView) {
  OneView view;
  gMxDoc = &view;
  map.Append(FakeLayer("below", GeometryType::kPoint));
  const auto output = std::make_shared<FakeClass>("output", GeometryType::kPolygon);
  AddLayerToMap(output);
  AddLayerToMap(output, "My name");
  gMxDoc = nullptr;
  EXPECT_EQ(Combo(1), (Texts{"My name", "output", "below"}));
  EXPECT_EQ(view.refreshed, 2);
}

TEST_F(MapAccess, TheMapsReferenceIsItsFirstLayersUntilSet) {
  EXPECT_TRUE(map.SpatialReference()->IsUnknown());
  map.Append(std::make_shared<IGroupLayer>("group"));
  map.Append(FakeLayer("points", GeometryType::kPoint));
  map.Append(Raster("dem.tif", PixelType::kFloat, 1));
  EXPECT_EQ(map.SpatialReference()->FactoryCode(), 4326);
  map.AddLayer(Raster("output", PixelType::kFloat, 1));
  EXPECT_EQ(map.SpatialReference()->FactoryCode(), 4326) << "a result on top does not change it";
  map.SetSpatialReference(std::make_shared<NamedReference>(2169));
  EXPECT_EQ(map.SpatialReference()->FactoryCode(), 2169);
  map.Clear();
  EXPECT_TRUE(map.SpatialReference()->IsUnknown());
}

TEST_F(MapAccess, TheMapTellsOfAddedLayersAndChangedSelections) {
  Texts told;
  map.onLayerAdded = [&](const ILayer& layer) { told.push_back("added " + layer.Name()); };
  map.onSelectionChanged = [&](const IFeatureLayer& layer) {
    told.push_back("selected " + layer.Name());
  };
  const auto zones = FakeLayer("zones", GeometryType::kPolygon);
  map.Append(FakeLayer("silent", GeometryType::kPoint));
  map.AddLayer(zones);
  zones->AddToSelection(1);
  zones->SelectionChanged();
  EXPECT_EQ(told, (Texts{"added zones", "selected zones"}));
}

}  // namespace
}  // namespace orlinths
