#include "io/json.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace quarv::cli {

namespace {

using Parser = nlohmann::ordered_json;

constexpr std::size_t deepest = 100;  // so that recursion ends

/// Puts values where the parser finds them.
class JsonBuilder : public Parser::json_sax_t {
 public:
  Json result;

  bool null() override { return add({}) != nullptr; }
  bool boolean(bool truth) override { return add(truth) != nullptr; }
  bool number_integer(std::int64_t number) override { return add(number) != nullptr; }
  bool number_unsigned(std::uint64_t number) override { return add(number) != nullptr; }
  bool number_float(double number, const std::string&) override { return add(number) != nullptr; }
  bool string(std::string& text) override { return add(std::move(text)) != nullptr; }
  bool binary(Parser::binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(Json::object()); }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(std::string& name) override {
    name_ = std::move(name);
    return true;
  }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e) override {
    throw JsonError(e.what());
  }

 private:
  Json* add(Json value) {
    if (open_.empty()) return &(result = std::move(value));
    Json& parent = *open_.back();
    if (parent.is_object()) return &(parent[name_] = std::move(value));
    parent.push_back(std::move(value));
    return const_cast<Json*>(&parent.elements().back());  // the builder owns it
  }

  bool open(Json empty) {
    if (open_.size() == deepest) throw JsonError("nested too deeply");
    // Nothing is added to what is around this until it is closed, so that its place stays.
    open_.push_back(add(std::move(empty)));
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  std::vector<Json*> open_;
  std::string name_;
};

Parser written(const Json& json) {
  if (json.is_object()) {
    Parser object = Parser::object();
    for (const auto& [name, value] : json.members()) object[name] = written(value);
    return object;
  }
  if (json.is_array()) {
    Parser array = Parser::array();
    for (const Json& element : json.elements()) array.push_back(written(element));
    return array;
  }
  if (json.is_string()) return json.string();
  if (json.is_count()) return json.number<std::uint64_t>();
  if (json == Json()) return nullptr;
  if (!json.is_number()) return json.boolean();
  return json.is_integer() ? Parser(json.number<std::int64_t>()) : Parser(json.number<double>());
}

}  // namespace

Json::Json(std::initializer_list<Json> parts) {
  const bool is_object = std::ranges::all_of(parts, [](const Json& part) {
    const auto* const pair = std::get_if<std::vector<Json>>(&part.value_);
    return pair != nullptr && pair->size() == 2 && pair->front().is_string();
  });
  if (!is_object) {
    value_ = std::vector<Json>(parts);
    return;
  }
  *this = object();
  for (const Json& part : parts) (*this)[part.at(0).string()] = part.at(1);
}

Json::Json() = default;
Json::Json(bool truth) : value_(truth) {}
Json::Json(double number) : value_(number) {}
Json::Json(std::string text) : value_(std::move(text)) {}
Json::Json(std::string_view text) : value_(std::string(text)) {}
Json::Json(const char* text) : value_(std::string(text)) {}

Json Json::array() {
  return array(std::vector<Json>());
}

Json Json::array(std::vector<Json> elements) {
  Json json;
  json.value_ = std::move(elements);
  return json;
}

Json Json::object() {
  Json json;
  json.value_ = std::vector<Member>();
  return json;
}

Json Json::parse(std::string_view text) {
  JsonBuilder builder;
  if (!Parser::sax_parse(text.begin(), text.end(), &builder)) throw JsonError("not JSON");
  return std::move(builder.result);
}

std::string Json::text(int indent) const {
  try {
    return written(*this).dump(indent);
  } catch (const Parser::exception& e) {
    throw JsonError(e.what());
  }
}

std::string Json::repaired_text() const {
  return written(*this).dump(-1, ' ', false, Parser::error_handler_t::replace);
}

template <class T>
const T& Json::get(const char* what) const {
  if (const T* const value = std::get_if<T>(&value_)) return *value;
  throw JsonError(std::string("expected ") + what);
}

bool Json::boolean() const {
  return get<bool>("true or false");
}

const std::string& Json::string() const {
  return get<std::string>("a string");
}

const std::vector<Json>& Json::elements() const {
  return get<std::vector<Json>>("a list");
}

const std::vector<Json::Member>& Json::members() const {
  return get<std::vector<Member>>("an object");
}

double Json::real() const {
  if (const auto* const n = std::get_if<std::uint64_t>(&value_)) return static_cast<double>(*n);
  if (const auto* const n = std::get_if<std::int64_t>(&value_)) return static_cast<double>(*n);
  return get<double>("a number");
}

const Json& Json::at(std::string_view name) const {
  if (const Json* const member = find(name)) return *member;
  throw JsonError("there is no member " + std::string(name));
}

const Json& Json::at(std::size_t i) const {
  if (i < elements().size()) return elements()[i];
  throw JsonError("there is no element " + std::to_string(i));
}

const Json* Json::find(std::string_view name) const {
  const auto found = std::ranges::find(members(), name, &Member::name);
  return found == members().end() ? nullptr : &found->value;
}

std::string Json::string_or(std::string_view name, std::string_view otherwise) const {
  const Json* const member = find(name);
  return member == nullptr ? std::string(otherwise) : member->string();
}

bool Json::boolean_or(std::string_view name, bool otherwise) const {
  const Json* const member = find(name);
  return member == nullptr ? otherwise : member->boolean();
}

Json& Json::operator[](std::string_view name) {
  if (holds<std::monostate>()) *this = object();
  if (const Json* const member = find(name)) return *const_cast<Json*>(member);
  return std::get<std::vector<Member>>(value_).emplace_back(Member{std::string(name), {}}).value;
}

void Json::push_back(Json element) {
  elements();
  std::get<std::vector<Json>>(value_).push_back(std::move(element));
}

void Json::update(const Json& other) {
  for (const auto& [name, value] : other.members()) (*this)[name] = value;
}

void Json::erase(std::string_view name) {
  members();
  std::erase_if(std::get<std::vector<Member>>(value_), [name](const Member& m) { return m.name == name; });
}

bool operator==(const Json& a, const Json& b) {
  return a.value_ == b.value_;
}

}  // namespace quarv::cli
