#include "support/FaultRuns.h"

#include <algorithm>
#include <filesystem>

#include "runtime/Files.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

/// `values` are the expected ones up to some record and `blank` from there on.
template <class T>
void ExpectUpToSome(const std::vector<T>& values, const std::vector<T>& expected, const T& blank,
                    bool mayEnd, const std::string& column) {
  ASSERT_EQ(values.size(), expected.size()) << column;
  bool ended = false;
  for (std::size_t row = 0; row < values.size(); ++row) {
    ended = ended || values[row] != expected[row];
    if (ended) {
      EXPECT_EQ(values[row], blank) << column;
    }
  }
  EXPECT_TRUE(!ended || mayEnd) << column;
}

/// Tools replace fields by name, whatever its case.
template <class Values>
bool Replaces(const std::map<std::string, Values>& columns, const std::string& name) {
  return std::ranges::any_of(columns,
                             [&](const auto& column) { return EqualNoCase(column.first, name); });
}

}  // namespace

std::string NameOf(FaultKind kind) {
  switch (kind) {
    case FaultKind::kOpen:
      return "open";
    case FaultKind::kRead:
      return "read";
    case FaultKind::kWrite:
      return "write";
    case FaultKind::kSync:
      return "sync";
    case FaultKind::kRename:
      return "rename";
    case FaultKind::kClose:
      return "close";
    case FaultKind::kOwnAllocation:
      return "allocation";
    default:
      return "other";
  }
}

FolderBytes BytesIn(const std::string& folder) {
  FolderBytes files;
  for (const auto& file : std::filesystem::directory_iterator(folder))
    if (file.is_regular_file()) files[file.path().filename()] = ReadBytes(file.path());
  return files;
}

bool TellOfFailure(const std::vector<Message>& messages) {
  return std::ranges::any_of(messages,
                             [](const Message& message) { return message.flags == kCritical; });
}

void ExpectEdited(const OgrDataset& before, const OgrDataset& after, const ColumnsToCome& columns,
                  bool isReported) {
  ASSERT_EQ(after.records.size(), before.records.size());
  for (std::size_t row = 0; row < before.records.size(); ++row)
    EXPECT_EQ(after.records[row].wkt, before.records[row].wkt);
  for (const OgrColumn& column : before.columns) {
    if (!Replaces(columns.numbers, column.name) && !Replaces(columns.texts, column.name)) {
      EXPECT_EQ(after.Texts(column.name), before.Texts(column.name)) << column.name;
    }
  }
  for (const OgrColumn& column : after.columns) {
    if (std::ranges::count(before.columns, column) == 1 &&
        after.Texts(column.name) == before.Texts(column.name))
      continue;
    if (const auto text = columns.texts.find(column.name); text != columns.texts.end()) {
      ExpectUpToSome(after.Texts(column.name), text->second, std::string(), isReported,
                     column.name);
      continue;
    }
    const auto number = columns.numbers.find(column.name);
    ASSERT_NE(number, columns.numbers.end()) << column.name;
    ExpectUpToSome(after.Numbers(column.name), number->second, 0.0, isReported, column.name);
  }
  if (isReported) return;
  for (const auto& [column, values] : columns.numbers)
    EXPECT_EQ(after.Numbers(column), values) << column;
  for (const auto& [column, values] : columns.texts)
    EXPECT_EQ(after.Texts(column), values) << column;
}

}  // namespace orlinths
