#include "gdal/TableRewrite.h"

#include <algorithm>
#include <cstring>

#include "gdal/ShapefileRecords.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::size_t kBlockBytes = 1 << 20;
constexpr char kEndOfFile = '\x1a';
constexpr char kDeletedMark = '*';

/// A run of bytes that goes from the old row to the new one unchanged.
struct Run {
  std::size_t from, to, count;
};

std::vector<Run> PlanCopies(const DbfLayout& old, const DbfLayout& layout,
                            const std::vector<ColumnSource>& sources) {
  std::vector<Run> runs{{0, 0, 1}};  // the deletion mark
  for (std::size_t i = 0; i < sources.size(); ++i) {
    if (sources[i].oldColumn < 0) continue;
    const DbfColumn& from = old.columns[static_cast<std::size_t>(sources[i].oldColumn)];
    const DbfColumn& to = layout.columns[i];
    // A column that was widened keeps its number at the right end.
    const Run run{static_cast<std::size_t>(from.offset),
                  static_cast<std::size_t>(to.offset + to.width - from.width),
                  static_cast<std::size_t>(from.width)};
    Run& last = runs.back();
    if (last.from + last.count == run.from && last.to + last.count == run.to)
      last.count += run.count;
    else
      runs.push_back(run);
  }
  return runs;
}

void PutEdits(const DbfColumn& column, const ColumnEdits& edits, const std::vector<Oid>& rows,
              char* out, std::size_t recordBytes) {
  const NumberForm form = FormOf(column);
  char* at = out + column.offset;
  for (const Oid row : rows) {
    if (edits.IsTouched(row)) {
      if (edits.HoldsText()) {
        const std::string_view text = edits.Text(row);
        std::memcpy(at, text.data(), text.size());
      } else if (!EncodeNumber(edits.Number(row), form, column.width, column.decimals, at)) {
        throw RuntimeError::Platform("A value is too large for the field " + column.name + ".");
      }
    }
    at += recordBytes;
  }
}

}  // namespace

std::string DefaultRecord(const DbfLayout& layout) {
  std::string record(static_cast<std::size_t>(layout.recordBytes), ' ');
  for (const DbfColumn& column : layout.columns)
    if (FormOf(column) != NumberForm::kNone)
      EncodeNumber(0, FormOf(column), column.width, column.decimals, record.data() + column.offset);
  return record;
}

void RewriteTable(const InputFile& old, const DbfLayout& oldLayout, DbfLayout& layout,
                  const std::vector<ColumnSource>& sources, const RowSet* dropped,
                  const Date& today, OutputFile& out) {
  const auto oldBytes = static_cast<std::size_t>(oldLayout.recordBytes);
  const auto newBytes = static_cast<std::size_t>(layout.recordBytes);
  const auto blockRows = static_cast<std::int64_t>(
      std::max<std::size_t>(1, kBlockBytes / std::max(oldBytes, newBytes)));
  const std::vector<Run> runs = PlanCopies(oldLayout, layout, sources);
  const std::string defaults = DefaultRecord(layout);
  const bool coversAll = runs.size() == 1 && runs.front().count == newBytes;

  layout.records = 0;
  out.Write(MakeDbfHeader(layout, today));
  std::vector<char> block(static_cast<std::size_t>(std::min(blockRows, oldLayout.records)) *
                          oldBytes);
  std::vector<Oid> rows;
  for (Oid begin = 0; begin < oldLayout.records; begin += blockRows) {
    const Oid end = std::min(begin + blockRows, oldLayout.records);
    old.Read(oldLayout.RowPosition(begin), block.data(),
             static_cast<std::size_t>(end - begin) * oldBytes);
    rows.clear();
    for (Oid row = begin; row < end; ++row) {
      const bool isDropped =
          dropped != nullptr &&
          (dropped->Contains(row) ||
           block[static_cast<std::size_t>(row - begin) * oldBytes] == kDeletedMark);
      if (!isDropped) rows.push_back(row);
    }
    if (rows.empty()) continue;
    char* const space = out.Reserve(rows.size() * newBytes);
    char* to = space;
    for (const Oid row : rows) {
      const char* from = block.data() + static_cast<std::size_t>(row - begin) * oldBytes;
      if (!coversAll) std::memcpy(to, defaults.data(), newBytes);
      for (const Run& run : runs) std::memcpy(to + run.to, from + run.from, run.count);
      to += newBytes;
    }
    for (std::size_t i = 0; i < sources.size(); ++i)
      if (sources[i].edits != nullptr)
        PutEdits(layout.columns[i], *sources[i].edits, rows, space, newBytes);
    layout.records += static_cast<std::int64_t>(rows.size());
  }
  out.Write(&kEndOfFile, 1);
  const std::string counts = MakeDbfCounts(layout.records, today);
  out.Patch(1, counts.data(), counts.size());
}

ShpBounds BoundsOfShapes(const InputFile& shp, const InputFile& shx, std::int64_t records) {
  ShapefileRecords shapes(shp, shx);
  ShpBounds bounds;
  for (Oid row = 0; row < records; ++row) AddShapeBounds(shapes.At(row), bounds);
  return bounds;
}

ShpHeader RewriteShapes(const InputFile& shp, const InputFile& shx, std::int64_t records, int type,
                        bool hasM, const ShapeEdits& edits, const RowSet* dropped,
                        OutputFile& newShp, OutputFile& newShx) {
  ShpHeader header{type, kShpHeaderBytes, {}};
  newShp.Write(MakeShpHeader(header));
  newShx.Write(MakeShpHeader(header));
  ShapefileRecords old(shp, shx);
  std::string encoded;
  std::int64_t written = 0;
  for (Oid row = 0; row < records; ++row) {
    if (dropped != nullptr && dropped->Contains(row)) continue;
    std::string_view content;
    if (const auto edit = edits.find(row); edit != edits.end()) {
      encoded.clear();
      EncodeShape(edit->second, type, hasM, encoded, header.bounds);
      content = encoded;
    } else {
      const ShpRecord record = old.At(row);
      AddShapeBounds(record, header.bounds);
      content = record.content;
    }
    PutShxRecord(newShp.Position(), content.size(), newShx.Reserve(kShxRecordBytes));
    PutShpRecordHead(written++, content.size(), newShp.Reserve(kShpRecordHead));
    newShp.Write(content);
    CheckShpSize(newShp.Position(), shp.Path());
  }
  ShpHeader shxHeader = header;
  header.fileBytes = newShp.Position();
  shxHeader.fileBytes = newShx.Position();
  std::string head = MakeShpHeader(header);
  newShp.Patch(0, head.data(), head.size());
  head = MakeShpHeader(shxHeader);
  newShx.Patch(0, head.data(), head.size());
  return header;
}

}  // namespace orlinths
