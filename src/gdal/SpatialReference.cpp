// Spatial references on OGR, projections on PROJ, both with x before y.
#include "data/SpatialReference.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <ogr_spatialref.h>

#include "gdal/Library.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

struct Freed {
  void operator()(int* numbers) const { CPLFree(numbers); }
  void operator()(OGRSpatialReferenceH* list) const { OSRFreeSRSArray(list); }
  void operator()(OGRCoordinateTransformation* t) const {
    OGRCoordinateTransformation::DestroyCT(t);
  }
};

/// WKT 1; WKT 2 for the few definitions that WKT 1 cannot say.
std::string ToWkt(const OGRSpatialReference& definition) {
  for (const char* const format : {"FORMAT=WKT1_GDAL", "FORMAT=WKT2_2019"}) {
    const char* const options[] = {format, nullptr};
    char* text = nullptr;
    const OGRErr result = definition.exportToWkt(&text, options);
    const GdalText owned(text);
    if (result == OGRERR_NONE && text != nullptr) return text;
  }
  RaiseGdal("The spatial reference cannot be written as text.");
}

/// The code that the definition itself names; 0 for none.
int CodeNamedIn(const OGRSpatialReference& definition) {
  const char* authority = definition.GetAuthorityName(nullptr);
  const char* code = definition.GetAuthorityCode(nullptr);
  if (authority == nullptr || code == nullptr || !EQUAL(authority, "EPSG")) return 0;
  return std::atoi(code);
}

/// The code of the only EPSG definition that says the same. PROJ's confidence of 100 and 90 means
/// the same under the same or nearly the same name, 70 the same under another name; below that
/// definitions differ.
int CodeByDefinition(const OGRSpatialReference& definition) {
  constexpr int kSameDefinition = 70;
  int count = 0;
  int* confidences = nullptr;
  const std::unique_ptr<OGRSpatialReferenceH, Freed> matches(
      definition.FindMatches(nullptr, &count, &confidences));
  const std::unique_ptr<int, Freed> owned(confidences);
  int best = kSameDefinition - 1;
  int code = 0;
  for (int i = 0; i < count; ++i) {
    const int candidate = CodeNamedIn(*OGRSpatialReference::FromHandle(matches.get()[i]));
    if (candidate == 0 || confidences[i] < best) continue;
    code = confidences[i] > best ? candidate : 0;  // two that fit equally well decide nothing
    best = confidences[i];
  }
  return code;
}

/// A search through PROJ's database takes milliseconds and classes of one folder share their
/// definitions: asked once per text.
int FactoryCodeOf(const OGRSpatialReference& definition, const std::string& wkt) {
  if (const int named = CodeNamedIn(definition)) return named;
  static std::mutex mutex;
  static std::map<std::string, int> known;
  {
    const std::lock_guard lock(mutex);
    if (const auto found = known.find(wkt); found != known.end()) return found->second;
  }
  const QuietGdal quiet;
  const int code = CodeByDefinition(definition);
  const std::lock_guard lock(mutex);
  known.emplace(wkt, code);
  return code;
}

class UnknownReference : public ISpatialReference {
 public:
  std::string Name() const override { return "Unknown Coordinate System"; }
  int FactoryCode() const override { return 0; }
  bool IsUnknown() const override { return true; }
  std::string Wkt() const override { return {}; }
};

class OgrReference : public ISpatialReference {
 public:
  explicit OgrReference(const OGRSpatialReference& definition)
      : definition_(definition), wkt_(ToWkt(definition)) {
    definition_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (const char* name = definition_.GetName()) name_ = name;
    code_ = FactoryCodeOf(definition_, wkt_);
  }
  std::string Name() const override { return name_; }
  int FactoryCode() const override { return code_; }
  bool IsUnknown() const override { return false; }
  std::string Wkt() const override { return wkt_; }
  const OGRSpatialReference& Definition() const { return definition_; }

 private:
  OGRSpatialReference definition_;
  std::string wkt_;
  std::string name_;
  int code_ = 0;
};

/// Old .prj files hold lines of keywords ("Projection UTM") in place of WKT.
bool ReadOldPrj(const std::string& text, OGRSpatialReference& definition) {
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n')
      lines.emplace_back();
    else if (c != '\r')
      lines.back() += c;
  }
  if (lines.size() < 2) return false;
  std::vector<char*> raw;
  for (std::string& line : lines) raw.push_back(line.data());
  raw.push_back(nullptr);
  return definition.importFromESRI(raw.data()) == OGRERR_NONE;
}

/// A reference's definition, whoever made the reference; nothing for the unknown.
std::unique_ptr<OGRSpatialReference> DefinitionOf(const ISpatialReference& reference) {
  if (reference.IsUnknown()) return nullptr;
  if (const auto* own = dynamic_cast<const OgrReference*>(&reference))
    return std::make_unique<OGRSpatialReference>(own->Definition());
  auto definition = std::make_unique<OGRSpatialReference>();
  if (definition->importFromWkt(reference.Wkt().c_str()) != OGRERR_NONE)
    RaiseGdal("The spatial reference is not one.");
  definition->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return definition;
}

class NoProjection : public IProjection {
 public:
  void Apply(std::span<Coord>) const override {}
};

class ProjProjection : public IProjection {
 public:
  ProjProjection(const OGRSpatialReference& from, const OGRSpatialReference& to)
      : transformation_(OGRCreateCoordinateTransformation(&from, &to)) {
    if (!transformation_) RaiseGdal("There is no way from one spatial reference to the other.");
    transformation_->SetEmitErrors(true);
  }

  void Apply(std::span<Coord> coords) const override {
    constexpr std::size_t kAtOnce = 4096;
    for (std::size_t begin = 0; begin < coords.size(); begin += kAtOnce)
      ApplyTo(coords.subspan(begin, std::min(kAtOnce, coords.size() - begin)));
  }

 private:
  void ApplyTo(std::span<Coord> coords) const {
    CheckStop();
    const QuietGdal quiet;
    const auto count = coords.size();
    std::vector<double> x(count), y(count);
    std::vector<int> done(count);
    for (std::size_t i = 0; i < count; ++i) x[i] = coords[i].x, y[i] = coords[i].y;
    transformation_->Transform(static_cast<int>(count), x.data(), y.data(), nullptr, nullptr,
                               done.data());
    for (std::size_t i = 0; i < count; ++i) {
      const bool wasFinite = std::isfinite(coords[i].x) && std::isfinite(coords[i].y);
      if (!wasFinite || done[i] == 0 || !std::isfinite(x[i]) || !std::isfinite(y[i])) {
        quiet.RaiseIfFailed();  // PROJ says first what is wrong, and then that something is
        RaiseGdal("A coordinate cannot be projected.");
      }
      coords[i] = {x[i], y[i]};
    }
  }

  std::unique_ptr<OGRCoordinateTransformation, Freed> transformation_;
};

bool AreSame(const OGRSpatialReference& a, const OGRSpatialReference& b) {
  // Both are used with x before y, whatever order their authority names.
  const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT",
                                 nullptr};
  return a.IsSame(&b, options) != 0;
}

}  // namespace

SpatialReferencePtr UnknownCoordinateSystem() {
  static const SpatialReferencePtr unknown = std::make_shared<UnknownReference>();
  return unknown;
}

SpatialReferencePtr SpatialReferenceFromText(const std::string& text) {
  CheckStop();
  const auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return UnknownCoordinateSystem();
  const std::string trimmed = text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);

  EnsureGdal();
  const QuietGdal quiet;
  OGRSpatialReference definition;
  // The text comes from files: it must not make GDAL open files or addresses that it names.
  const char* const options[] = {"ALLOW_NETWORK_ACCESS=NO", "ALLOW_FILE_ACCESS=NO", nullptr};
  if (definition.SetFromUserInput(trimmed.c_str(), options) != OGRERR_NONE) {
    const std::string said = CPLGetLastErrorMsg();
    definition.Clear();
    if (!ReadOldPrj(trimmed, definition)) {
      CPLError(CE_Failure, CPLE_AppDefined, "%s", said.c_str());
      RaiseGdal("The text is not a spatial reference.");
    }
  }
  return std::make_shared<OgrReference>(definition);
}

std::unique_ptr<IProjection> MakeProjection(const ISpatialReference& from,
                                            const ISpatialReference& to) {
  CheckStop();
  EnsureGdal();
  const QuietGdal quiet;
  const auto fromDefinition = DefinitionOf(from);
  const auto toDefinition = DefinitionOf(to);
  if (!fromDefinition || !toDefinition || AreSame(*fromDefinition, *toDefinition))
    return std::make_unique<NoProjection>();
  return std::make_unique<ProjProjection>(*fromDefinition, *toDefinition);
}

void Project(Geometry& shape, const IProjection& projection) {
  if (Point* point = shape.As<Point>()) {
    Project(*point, projection);
  } else if (Multipart* parts = shape.AsMultipart(); parts != nullptr && !parts->IsEmpty()) {
    projection.Apply(parts->MutableCoords());
  }
}

void Project(Point& point, const IProjection& projection) {
  if (point.IsEmpty()) return;
  Coord at{point.x, point.y};
  projection.Apply({&at, 1});
  point.PutCoords(at.x, at.y);
}

}  // namespace orlinths
