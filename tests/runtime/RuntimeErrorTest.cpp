#include "runtime/RuntimeError.h"

#include <gtest/gtest.h>

namespace orlinths {
namespace {

TEST(RuntimeError, HasANumberAndItsStandardDescription) {
  const struct {
    ErrorNumber code;
    int number;
    const char* description;
  } cases[] = {
      {ErrorNumber::kInvalidCall, 5, "Invalid procedure call or argument"},
      {ErrorNumber::kOverflow, 6, "Overflow"},
      {ErrorNumber::kOutOfMemory, 7, "Out of memory"},
      {ErrorNumber::kSubscript, 9, "Subscript out of range"},
      {ErrorNumber::kDivisionByZero, 11, "Division by zero"},
      {ErrorNumber::kTypeMismatch, 13, "Type mismatch"},
      {ErrorNumber::kUserInterrupt, 18, "User interrupt occurred"},
      {ErrorNumber::kFileNotFound, 53, "File not found"},
      {ErrorNumber::kDiskFull, 61, "Disk full"},
      {ErrorNumber::kPastEndOfFile, 62, "Input past end of file"},
      {ErrorNumber::kPermissionDenied, 70, "Permission denied"},
      {ErrorNumber::kPathNotFound, 76, "Path not found"},
      {ErrorNumber::kObjectNotSet, 91, "Object variable or With block variable not set"},
      {ErrorNumber::kInvalidNull, 94, "Invalid use of Null"},
  };
  for (const auto& c : cases) {
    const RuntimeError error(c.code);
    EXPECT_EQ(error.Number(), c.number);
    EXPECT_EQ(error.Code(), c.code);
    EXPECT_EQ(error.Description(), c.description);
    EXPECT_STREQ(error.what(), c.description);
  }
}

TEST(RuntimeError, OfThePlatformSpeaksTheLibrarysWords) {
  const RuntimeError error = RuntimeError::Platform("no such band");
  EXPECT_EQ(error.Number(), -2147467259);
  EXPECT_EQ(error.Description(), "no such band");
}

TEST(NotNothing, PassesObjectsAndRefusesNothing) {
  int object = 3;
  EXPECT_EQ(&NotNothing(&object), &object);
  EXPECT_THROW(NotNothing<int>(nullptr), RuntimeError);
}

}  // namespace
}  // namespace orlinths
