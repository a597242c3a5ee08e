// SPDX-License-Identifier: MIT
#include "json_lines.h"

#include <iterator>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace l2vpn::demo {
namespace {

/// Deeper text is refused; record files are four levels deep.
constexpr std::size_t max_depth = 16;

/// Counts the lines of what the parser has consumed. A newline belongs to the line that it ends:
/// the parser looks one character past a number, and the number must not land on the next line.
class LineCounter {
public:
    void consume(char character) {
        line_ += after_newline_ ? 1 : 0;
        after_newline_ = character == '\n';
    }
    std::size_t line() const { return line_; }

private:
    std::size_t line_ = 1;
    bool after_newline_ = false;
};

/// Input iterator over a text that reports each character it passes to a counter. The parser
/// copies iterators, so the counter stands outside.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    CountingIterator(const char *position, LineCounter &counter)
        : position_(position), counter_(&counter) {}

    reference operator*() const { return *position_; }
    CountingIterator &operator++() {
        counter_->consume(*position_++);
        return *this;
    }
    friend bool operator==(const CountingIterator &left, const CountingIterator &right) {
        return left.position_ == right.position_;
    }

private:
    const char *position_;
    LineCounter *counter_;
};

/// What went wrong, without the "[json.exception...] " and "parse error at line 1, column 2: " in
/// front of it.
std::string without_position(std::string_view what) {
    what.remove_prefix(what.find("] ") + 2);
    if (what.starts_with("parse error at")) {
        what.remove_prefix(what.find(": ") + 2);
    }
    return std::string(what);
}

class TreeBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    TreeBuilder(const LineCounter &counter, JsonError &error) : counter_(counter), error_(error) {}

    JsonValue take_root() { return std::move(root_); }

    bool null() override { return add_other("null"); }
    bool boolean(bool value) override { return add_other(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override {
        return add_other(value == 0 ? "-0" : std::to_string(value));
    }
    bool number_float(number_float_t, const string_t &written) override {
        return add_other(written);
    }
    bool number_unsigned(number_unsigned_t value) override {
        add(JsonValue::Kind::number).number = value;
        return true;
    }
    bool string(string_t &value) override {
        add(JsonValue::Kind::text).text = value;
        return true;
    }
    bool binary(binary_t &) override { return false; } // not in JSON text
    bool start_object(std::size_t) override { return open(JsonValue::Kind::object); }
    bool start_array(std::size_t) override { return open(JsonValue::Kind::list); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool key(string_t &name) override {
        name_ = name;
        name_line_ = counter_.line();
        return true;
    }
    bool parse_error(std::size_t, const std::string &,
                     const nlohmann::detail::exception &exception) override {
        return fail(without_position(exception.what()));
    }

private:
    JsonValue &add(JsonValue::Kind kind) {
        JsonValue &value = open_.empty() ? root_ : open_.back()->items.emplace_back();
        value.kind = kind;
        value.line = counter_.line();
        value.name = std::exchange(name_, {});
        value.name_line = name_line_;
        return value;
    }
    bool add_other(std::string written) {
        add(JsonValue::Kind::other).text = std::move(written);
        return true;
    }
    bool open(JsonValue::Kind kind) {
        if (open_.size() == max_depth) {
            return fail(fmt::format("nested more than {} deep", max_depth));
        }
        open_.push_back(&add(kind));
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }
    bool fail(std::string what) {
        error_ = {counter_.line(), std::move(what)};
        return false;
    }

    const LineCounter &counter_;
    JsonError &error_;
    JsonValue root_;
    std::vector<JsonValue *> open_; ///< from the root down to the innermost
    std::string name_;
    std::size_t name_line_ = 0;
};

std::string counted(std::size_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

} // namespace

std::string describe(const JsonValue &value) {
    switch (value.kind) {
    case JsonValue::Kind::number:
        return std::to_string(value.number);
    case JsonValue::Kind::text:
        return quoted(value.text);
    case JsonValue::Kind::list:
        return "a list of " + counted(value.items.size(), "value");
    case JsonValue::Kind::object:
        return "an object of " + counted(value.items.size(), "member");
    case JsonValue::Kind::other:
        break;
    }
    return value.text;
}

std::string quoted(const std::string &text) {
    return nlohmann::json(text).dump();
}

std::optional<JsonValue> parse_json(std::string_view text, JsonError &error) {
    LineCounter counter;
    TreeBuilder builder(counter, error);
    if (!nlohmann::json::sax_parse(CountingIterator(text.data(), counter),
                                   CountingIterator(text.data() + text.size(), counter),
                                   &builder)) {
        return std::nullopt;
    }
    return builder.take_root();
}

} // namespace l2vpn::demo
