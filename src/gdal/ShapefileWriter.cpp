#include "gdal/ShapefileWriter.h"

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr char kEndOfFile = '\x1a';

Date Today() { return Date{ClockNanoseconds() / 1'000'000}; }

}  // namespace

ShapefileWriter::ShapefileWriter(const DatasetFiles& files, const DbfLayout& layout,
                                 const std::optional<ShpHeader>& shp, bool hasM)
    : dbf_(files.dbf, OutputFile::Mode::kUpdate),
      header_(shp),
      shpPath_(files.shp),
      hasM_(hasM),
      rows_(layout.records),
      flushedRows_(layout.records) {
  if (shp) {
    shapes_.emplace(Shapes{OutputFile(files.shp, OutputFile::Mode::kUpdate),
                           OutputFile(files.shx, OutputFile::Mode::kUpdate, 1 << 18)});
    shapes_->shp.TruncateTo(shp->fileBytes);
    shapes_->shx.TruncateTo(kShpHeaderBytes + static_cast<std::uint64_t>(rows_) * kShxRecordBytes);
  }
  dbf_.TruncateTo(layout.RowPosition(rows_));
}

ShapefileWriter::~ShapefileWriter() {
  if (dbf_.IsOpen() && !isBroken_) Quietly([this] { Close(); });
}

void ShapefileWriter::Append(const Geometry* shape, std::string_view record) {
  if (shapes_) {
    static const Geometry kNothing;
    content_.clear();
    EncodeShape(shape == nullptr ? kNothing : *shape, header_->type, hasM_, content_,
                header_->bounds);
    OutputFile& shp = shapes_->shp;
    CheckShpSize(shp.Position() + kShpRecordHead + content_.size(), shpPath_);
    isBroken_ = true;
    PutShxRecord(shp.Position(), content_.size(), shapes_->shx.Reserve(kShxRecordBytes));
    PutShpRecordHead(rows_, content_.size(), shp.Reserve(kShpRecordHead));
    shp.Write(content_);
  }
  isBroken_ = true;
  dbf_.Write(record);
  ++rows_;
  isBroken_ = false;
}

void ShapefileWriter::Flush() {
  if (rows_ == flushedRows_) return;
  isBroken_ = true;
  dbf_.Flush();
  if (shapes_) {
    shapes_->shp.Flush();
    shapes_->shx.Flush();
  }
  const std::string counts = MakeDbfCounts(rows_, Today());
  dbf_.Patch(1, counts.data(), counts.size());
  if (shapes_) {
    header_->fileBytes = shapes_->shp.Position();
    std::string head = MakeShpHeader(*header_);
    shapes_->shp.Patch(0, head.data(), head.size());
    ShpHeader index = *header_;
    index.fileBytes = shapes_->shx.Position();
    head = MakeShpHeader(index);
    shapes_->shx.Patch(0, head.data(), head.size());
  }
  flushedRows_ = rows_;
  isBroken_ = false;
}

void ShapefileWriter::Close() {
  Flush();
  dbf_.Write(&kEndOfFile, 1);
  dbf_.Close();
  if (shapes_) {
    shapes_->shp.Close();
    shapes_->shx.Close();
  }
}

}  // namespace orlinths
