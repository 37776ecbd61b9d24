// Text of a dBASE table between UTF-8 and the table's own encoding.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orlinths {

/// The encoding, as iconv names it, that a .cpg file's text or else the header's language driver
/// stands for. Empty where neither says anything: the bytes then pass as they are.
std::string DbfEncoding(const std::optional<std::string>& cpg, std::uint8_t languageDriver);

class DbfText {
 public:
  /// A platform error for an encoding that is not known here, or in which a letter is no byte.
  explicit DbfText(const std::string& encoding);
  ~DbfText();
  DbfText(DbfText&&) noexcept;
  DbfText& operator=(DbfText&&) noexcept;

  /// A platform error for a character that the encoding does not have.
  std::string Encode(std::string_view utf8) const;
  /// Bytes that mean nothing become question marks.
  std::string Decode(std::string_view bytes) const;
  /// The same into a text that may have room already.
  void Decode(std::string_view bytes, std::string& text) const;

 private:
  struct Converters;
  std::unique_ptr<Converters> converters_;  // nothing: UTF-8, or unknown
};

}  // namespace orlinths
