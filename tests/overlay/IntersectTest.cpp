#include "overlay/IntersectTest.h"

#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/Wkt.h"

namespace orlinths {

OgrDataset IntersectTest::PointsAt(const Texts& wkts, const std::string& reference) {
  OgrDataset points{
      .type = "Point", .reference = reference, .columns = {{"NAME", "String", 20}}, .records = {}};
  for (const std::string& wkt : wkts)
    points.records.push_back({wkt, {"p" + std::to_string(points.records.size())}});
  return points;
}

OgrDataset IntersectTest::PointsOn(const std::vector<Coord>& places) {
  Texts wkts;
  for (const Coord& place : places) wkts.push_back(AsWkt(Point{.x = place.x, .y = place.y}));
  return PointsAt(wkts);
}

OgrDataset IntersectTest::Stands() {
  return {.type = "Polygon",
          .reference = kUtm,
          .columns = {{"AREA", "Real", 12, 2},
                      {"PERIMETER", "Real", 12, 2},
                      {"SPECIES", "String", 12},
                      {"AGE", "Integer", 4},
                      {"FELLED", "Date"}},
          .records = {
              {"POLYGON((0 0, 0 10, 10 10, 10 0, 0 0))", {"100", "40", "pine", "80", "2019/05/04"}},
              {"POLYGON((10 0, 10 10, 20 10, 20 0, 10 0))",
               {"100.5", "41", "fir", "120", "2021/10/31"}},
              {"POLYGON((5 0, 5 20, 15 20, 15 0, 5 0))", {"200", "60", "", "7", ""}}}};
}

std::shared_ptr<IRasterLayer> IntersectTest::AddRaster(const std::string& file,
                                                       const GdalRaster& raster) {
  WriteGdal(Path(file), raster);
  auto layer =
      std::make_shared<IRasterLayer>(OpenRasterDataset(FolderOf(Path(file)), NameOf(Path(file))));
  host_.map.Append(layer);
  return layer;
}

GdalRaster IntersectTest::Small() {
  return {.type = GDT_Int16, .bands = {{{1, 2, 3}, {4, 5, 6}}}, .noData = -7, .epsg = 32612};
}

void IntersectTest::ChooseFields(const Texts& fields) {
  host_.dialogs.WhenOpened(
      "frmFieldsList", [fields](Hand hand) { hand.Select("lstFields", fields).Press("btnOK"); });
}

void IntersectTest::ChooseAllFields() {
  host_.dialogs.WhenOpened("frmFieldsList",
                           [](Hand hand) { hand.Check("chkAllFields").Press("btnOK"); });
}

void IntersectTest::AnswerName(const std::string& text) {
  host_.dialogs.WhenOpened("frmGetString", [text](Hand hand) {
    if (text.empty()) {
      hand.Press("btnExit");
    } else {
      hand.Set("txtUserStr", text).Press("btnOK");
    }
  });
}

void IntersectTest::ReadReport() {
  host_.dialogs.WhenOpened("frmResultsReport", [this](Hand hand) {
    report_ = hand.Text("txtResults");
    hand.Press("btnOK");
  });
}

}  // namespace orlinths
