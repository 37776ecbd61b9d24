// Bytes in the order that Arc/Info files have them: most significant first.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace orlinths {

class BigEndianBytes {
 public:
  explicit BigEndianBytes(std::vector<unsigned char>& bytes) : bytes_(bytes) {}

  void Put8(std::uint8_t v) { bytes_.push_back(v); }
  void Put16(std::uint16_t v) {
    Put8(static_cast<std::uint8_t>(v >> 8));
    Put8(static_cast<std::uint8_t>(v & 0xFF));
  }
  void Put32(std::uint32_t v) {
    Put16(static_cast<std::uint16_t>(v >> 16));
    Put16(static_cast<std::uint16_t>(v & 0xFFFF));
  }
  void PutInt(std::int64_t v) { Put32(static_cast<std::uint32_t>(v)); }
  void PutFloat(float v) { Put32(std::bit_cast<std::uint32_t>(v)); }
  void PutDouble(double v) {
    const auto bits = std::bit_cast<std::uint64_t>(v);
    Put32(static_cast<std::uint32_t>(bits >> 32));
    Put32(static_cast<std::uint32_t>(bits & 0xFFFFFFFF));
  }
  /// `text`, filled up to `width` bytes.
  void PutText(std::string_view text, std::size_t width, char fill = ' ') {
    for (std::size_t i = 0; i < width; ++i)
      Put8(static_cast<std::uint8_t>(i < text.size() ? text[i] : fill));
  }
  void PutZeros(std::size_t count) { bytes_.insert(bytes_.end(), count, 0); }

 private:
  std::vector<unsigned char>& bytes_;
};

inline std::uint32_t BigEndian32(const unsigned char* p) {
  return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

}  // namespace orlinths
