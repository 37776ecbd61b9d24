// The kinds of cells a raster band can hold.
#pragma once

namespace orlinths {

/// Codes below 9 are the integer types.
enum class PixelType : int {
  k1Bit = 0,
  k2Bit = 1,
  k4Bit = 2,
  kUInt8 = 3,
  kInt8 = 4,
  kUInt16 = 5,
  kInt16 = 6,
  kUInt32 = 7,
  kInt32 = 8,
  kFloat = 9,
  kDouble = 10,
  kComplex = 11,
  kDoubleComplex = 12,
};
inline bool IsInteger(PixelType type) { return static_cast<int>(type) < 9; }

}  // namespace orlinths
