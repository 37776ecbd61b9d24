#include "session/Json.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "session/Words.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::size_t kDeepest = 100;

/// Builds the document from the parser's events, and keeps the first thing that is wrong with it.
class Builder : public nlohmann::json_sax<Json> {
 public:
  bool null() override { return Put(nullptr); }
  bool boolean(bool value) override { return Put(value); }
  bool number_integer(number_integer_t value) override { return Put(value); }
  bool number_unsigned(number_unsigned_t value) override { return Put(value); }
  bool number_float(number_float_t value, const string_t&) override { return Put(value); }
  bool string(string_t& value) override { return Put(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return Open(Json::object()); }
  bool end_object() override { return Close(); }
  bool start_array(std::size_t) override { return Open(Json::array()); }
  bool end_array() override { return Close(); }
  bool key(string_t& name) override {
    if (open_.back()->contains(name)) return Fail(Quoted(name) + " stands twice");
    key_ = std::move(name);
    return true;
  }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& error) override {
    std::string words = error.what();
    // "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error ..."
    if (const auto bracket = words.find("] "); bracket != words.npos) words.erase(0, bracket + 2);
    if (words.starts_with("parse error"))
      if (const auto colon = words.find(": "); colon != words.npos) words.erase(0, colon + 2);
    position_ = position;
    return Fail(words);
  }

  Json document;
  const std::string& Wrong() const { return wrong_; }
  std::size_t Position() const { return position_; }

 private:
  bool Fail(const std::string& words) {
    if (wrong_.empty()) wrong_ = words;
    return false;
  }
  Json* Place(Json value) {
    if (open_.empty()) {
      document = std::move(value);
      return &document;
    }
    Json& parent = *open_.back();
    if (parent.is_array()) {
      parent.push_back(std::move(value));
      return &parent.back();
    }
    return &(parent[key_] = std::move(value));
  }
  bool Put(Json value) {
    Place(std::move(value));
    return true;
  }
  bool Open(Json value) {
    if (open_.size() == kDeepest) return Fail("nested too deeply");
    open_.push_back(Place(std::move(value)));
    return true;
  }
  bool Close() {
    open_.pop_back();
    return true;
  }

  /// The containers being read, outermost first. Only the innermost grows, so that the others stay
  /// where they are.
  std::vector<Json*> open_;
  std::string key_;
  std::string wrong_;
  std::size_t position_ = std::string::npos;
};

/// Hands the text to the parser byte by byte and counts, so that whatever the builder refuses has a
/// place too.
class Counted {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  Counted(const char* at, std::size_t* count) : at_(at), count_(count) {}
  reference operator*() const { return *at_; }
  Counted& operator++() {
    ++at_;
    ++*count_;
    return *this;
  }
  bool operator==(const Counted& other) const { return at_ == other.at_; }
  bool operator!=(const Counted& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  std::size_t* count_;
};

std::string LineAndColumn(const std::string& text, std::size_t position) {
  const std::size_t end = std::min(position, text.size());
  const auto lines =
      std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
  const std::size_t lineStart = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
  const std::size_t column = lineStart == std::string::npos ? end + 1 : end - lineStart;
  return "line " + ToText(static_cast<std::int64_t>(lines + 1)) + ", column " +
         ToText(static_cast<std::int64_t>(column));
}

}  // namespace

Json ParseJson(const std::string& text) {
  Builder builder;
  std::size_t read = 0;
  const Counted begin(text.data(), &read);
  const Counted end(text.data() + text.size(), &read);
  if (!Json::sax_parse(begin, end, &builder)) {
    // The count runs one byte behind the last one taken.
    const std::size_t taken = builder.Position() == std::string::npos ? read : builder.Position();
    WrongCall(LineAndColumn(text, taken == 0 ? 0 : taken - 1) + ": " + builder.Wrong());
  }
  return std::move(builder.document);
}

std::string ToLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace orlinths
