#include "Worker/formats/JsonBounds.h"

#include <nlohmann/json.hpp>

namespace tidewell {
namespace {

using nlohmann::json;

/// Ends the parser's walk where a bound is exceeded.
class Bounds : public nlohmann::json_sax<json> {
 public:
  explicit Bounds(std::size_t mostValues) : valuesLeft_(mostValues) {}

  bool null() override { return value(); }
  bool boolean(bool) override { return value(); }
  bool number_integer(number_integer_t) override { return value(); }
  bool number_unsigned(number_unsigned_t) override { return value(); }
  bool number_float(number_float_t, const string_t&) override { return value(); }
  bool string(string_t&) override { return value(); }
  bool binary(binary_t&) override { return false; }  // only in other formats
  bool start_object(std::size_t) override { return open(); }
  bool key(string_t&) override { return true; }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t, const std::string&, const json::exception&) override { return false; }

 private:
  bool value() { return valuesLeft_-- > 0; }
  bool open() { return depth_++ < kDeepestJson && value(); }
  bool close() {
    --depth_;
    return true;
  }

  std::size_t valuesLeft_;
  std::size_t depth_ = 0;
};

}  // namespace

bool isBoundedJson(std::string_view text, std::size_t mostValues) {
  if (text.find('\0') != std::string_view::npos) return false;  // the parser would take it for the end
  Bounds bounds(mostValues);
  return json::sax_parse(text, &bounds);
}

}  // namespace tidewell
