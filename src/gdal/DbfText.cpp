#include "gdal/DbfText.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <numeric>
#include <utility>

#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const auto begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

/// Code pages of the language driver byte, where it names one.
std::string OfLanguageDriver(int driver) {
  struct Page {
    int driver;
    const char* name;
  };
  static constexpr std::array kPages = {
      Page{1, "CP437"},       Page{2, "CP850"},    Page{3, "CP1252"},    Page{8, "CP865"},
      Page{9, "CP437"},       Page{10, "CP850"},   Page{11, "CP437"},    Page{13, "CP437"},
      Page{14, "CP850"},      Page{15, "CP437"},   Page{16, "CP850"},    Page{17, "CP437"},
      Page{18, "CP850"},      Page{19, "CP932"},   Page{20, "CP850"},    Page{21, "CP437"},
      Page{22, "CP850"},      Page{23, "CP865"},   Page{24, "CP437"},    Page{25, "CP437"},
      Page{26, "CP850"},      Page{27, "CP437"},   Page{28, "CP863"},    Page{29, "CP850"},
      Page{31, "CP852"},      Page{34, "CP852"},   Page{35, "CP852"},    Page{36, "CP860"},
      Page{37, "CP850"},      Page{38, "CP866"},   Page{55, "CP850"},    Page{64, "CP852"},
      Page{77, "CP936"},      Page{78, "CP949"},   Page{79, "CP950"},    Page{80, "CP874"},
      Page{87, "ISO-8859-1"}, Page{88, "CP1252"},  Page{89, "CP1252"},   Page{100, "CP852"},
      Page{101, "CP866"},     Page{102, "CP865"},  Page{103, "CP861"},   Page{106, "CP737"},
      Page{107, "CP857"},     Page{108, "CP863"},  Page{120, "CP950"},   Page{121, "CP949"},
      Page{122, "CP936"},     Page{123, "CP932"},  Page{124, "CP874"},   Page{134, "CP737"},
      Page{135, "CP852"},     Page{136, "CP857"},  Page{150, "CP10007"}, Page{200, "CP1250"},
      Page{201, "CP1251"},    Page{202, "CP1254"}, Page{203, "CP1253"},  Page{204, "CP1257"}};
  for (const Page& page : kPages)
    if (page.driver == driver) return page.name;
  return "";
}

}  // namespace

std::string DbfEncoding(const std::optional<std::string>& cpg, std::uint8_t languageDriver) {
  const std::string text = cpg ? Trimmed(*cpg) : "";
  if (text.empty()) return OfLanguageDriver(languageDriver);
  const std::string lower = LowerCase(text);
  if (lower == "utf-8" || lower == "utf8" || lower == "65001") return "UTF-8";
  if (lower.starts_with("ldid/") && IsDigits(lower.substr(5)) && lower.size() <= 8)
    return OfLanguageDriver(static_cast<int>(ToDouble(std::string_view(lower).substr(5))));
  for (const std::string_view prefix : {"ansi ", "oem ", "cp"})
    if (lower.starts_with(prefix) && IsDigits(lower.substr(prefix.size())))
      return "CP" + lower.substr(prefix.size());
  const auto iso = lower.find("8859");
  if (iso == 0 || (lower.starts_with("iso") && iso != std::string::npos && iso <= 4)) {
    const std::string part = lower.substr(iso + 4);
    const auto digits = part.find_first_of("0123456789");
    if (digits != std::string::npos && IsDigits(part.substr(digits)))
      return "ISO-8859-" + part.substr(digits);
  }
  if (IsDigits(lower)) return "CP" + lower;
  return text;
}

struct DbfText::Converters {
  bool keepsAscii = false;  ///< in this encoding ASCII is itself
  iconv_t encode = reinterpret_cast<iconv_t>(-1);
  iconv_t decode = reinterpret_cast<iconv_t>(-1);
  ~Converters() {
    for (const iconv_t converter : {encode, decode})
      if (converter != reinterpret_cast<iconv_t>(-1)) ::iconv_close(converter);
  }
};

namespace {

/// Converts `text`; for bytes that cannot be converted `atFault` is asked how many to pass over and
/// may append to the result.
template <class AtFault>
std::string Convert(iconv_t converter, std::string_view text, AtFault atFault) {
  std::string result;
  std::array<char, 512> buffer;
  char* from = const_cast<char*>(text.data());
  std::size_t left = text.size();
  ::iconv(converter, nullptr, nullptr, nullptr, nullptr);
  while (left > 0) {
    char* to = buffer.data();
    std::size_t room = buffer.size();
    const bool done = ::iconv(converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
    const int error = errno;
    result.append(buffer.data(), to);
    if (done || error == E2BIG) continue;
    const std::size_t skipped = atFault(result);
    from += skipped;
    left -= std::min(skipped, left);
  }
  return result;
}

}  // namespace

DbfText::DbfText(const std::string& encoding) {
  if (encoding.empty() || encoding == "UTF-8") return;
  converters_ = std::make_unique<Converters>();
  converters_->encode = ::iconv_open(encoding.c_str(), "UTF-8");
  converters_->decode = ::iconv_open("UTF-8", encoding.c_str());
  if (converters_->encode == reinterpret_cast<iconv_t>(-1) ||
      converters_->decode == reinterpret_cast<iconv_t>(-1))
    throw RuntimeError::Platform("The text encoding " + encoding + " is not known here.");
  // Names in the header end at a zero byte, and columns are filled with blanks of one byte.
  if (Encode("A ") != "A ")
    throw RuntimeError::Platform("The text encoding " + encoding +
                                 " cannot be that of a dBASE table.");
  std::string ascii(128, '\0');
  std::iota(ascii.begin(), ascii.end(), '\0');
  converters_->keepsAscii = Decode(ascii) == ascii;
}

DbfText::~DbfText() = default;
DbfText::DbfText(DbfText&&) noexcept = default;
DbfText& DbfText::operator=(DbfText&&) noexcept = default;

std::string DbfText::Encode(std::string_view utf8) const {
  if (!converters_) return std::string(utf8);
  return Convert(converters_->encode, utf8, [&](std::string&) -> std::size_t {
    throw RuntimeError::Platform("The text \"" + std::string(utf8) +
                                 "\" has characters that the table's encoding does not have.");
  });
}

void DbfText::Decode(std::string_view bytes, std::string& text) const {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 128; };
  if (!converters_ || (converters_->keepsAscii && std::ranges::all_of(bytes, isAscii)))
    text.assign(bytes);
  else
    text = Decode(bytes);
}

std::string DbfText::Decode(std::string_view bytes) const {
  if (!converters_) return std::string(bytes);
  return Convert(converters_->decode, bytes, [](std::string& result) -> std::size_t {
    result += '?';
    return 1;
  });
}

}  // namespace orlinths
