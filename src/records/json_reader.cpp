// SPDX-License-Identifier: MIT
#include "records/json_reader.h"

#include <iterator>
#include <map>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace l2vpn::records {
namespace {

/// Valid input has four levels.
constexpr std::size_t max_depth = 16;
/// More than any field has bytes.
constexpr std::size_t max_items = 65536;

/// Input iterator over a file. The parser copies iterators, so the file holds the position.
class SourceIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = char;

    explicit SourceIterator(InputFile *source) : source_(source) {}

    char operator*() const { return static_cast<char>(source_->peek()); }
    SourceIterator &operator++() {
        source_->skip();
        return *this;
    }
    /// `right` must be the end iterator.
    friend bool operator==(const SourceIterator &left, const SourceIterator &) {
        return left.source_->peek() == InputFile::end;
    }

private:
    InputFile *source_;
};

/// The message without "[json.exception...] parse error at line 1, column 2: ", and with bytes
/// outside ASCII escaped.
std::string without_position(std::string_view what) {
    what.remove_prefix(what.find("] ") + 2);
    if (what.starts_with("parse error at")) {
        what.remove_prefix(what.find(": ") + 2);
    }
    std::string text;
    for (const char each : what) {
        const bool plain = each >= ' ' && each <= '~';
        text += plain ? std::string(1, each)
                      : fmt::format("\\x{:02x}", static_cast<unsigned char>(each));
    }
    return text;
}

/// Builds records while the text is parsed. Keeps one record and one field value at a time.
class RecordParser final : public nlohmann::json_sax<nlohmann::json> {
public:
    RecordParser(const InputFile &source, RecordSink &sink)
        : source_(source), sink_(sink), record_(sink) {}

    bool null() override { return other("null"); }
    bool boolean(bool value) override { return other(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override {
        return other(value == 0 ? "-0" : std::to_string(value));
    }
    bool number_float(number_float_t, const string_t &written) override { return other(written); }
    bool number_unsigned(number_unsigned_t value) override {
        return add({Value::Kind::number, source_.line(), value, {}, {}});
    }
    bool string(string_t &value) override {
        return add({Value::Kind::text, source_.line(), 0, value, {}});
    }
    bool binary(binary_t &) override { return false; } // not in JSON text

    bool start_object(std::size_t) override {
        if (open_.empty() && level_ == Level::text) {
            level_ = Level::tables;
            return true;
        }
        if (open_.empty() && level_ == Level::records) {
            level_ = Level::fields;
            if (table_ != nullptr) {
                record_.begin(*table_, source_.line());
            }
            return true;
        }
        return open(Value::Kind::object);
    }
    bool end_object() override {
        if (!open_.empty()) {
            return close();
        }
        if (level_ == Level::fields) {
            level_ = Level::records;
            if (table_ != nullptr) {
                record_.end(&table_->primary_key());
            }
        }
        return true;
    }
    bool start_array(std::size_t) override {
        if (open_.empty() && level_ == Level::tables && name_ != "version") {
            level_ = Level::records;
            begin_table();
            return true;
        }
        return open(Value::Kind::list);
    }
    bool end_array() override {
        if (!open_.empty()) {
            return close();
        }
        level_ = Level::tables;
        return true;
    }
    bool key(string_t &name) override {
        if (open_.empty()) {
            name_ = name;
            name_line_ = source_.line();
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string &,
                     const nlohmann::detail::exception &exception) override {
        return fail(shortened(without_position(exception.what())));
    }

private:
    /// The innermost valid structure that the parser is in.
    enum class Level : std::uint8_t { text, tables, records, fields };

    bool other(std::string written) {
        return add({Value::Kind::other, source_.line(), 0, std::move(written), {}});
    }

    bool add(Value value) {
        if (open_.empty()) {
            complete(value);
            return true;
        }
        if (open_.back().items.size() == max_items) {
            return fail(fmt::format("more than {} values where a field's value stands", max_items));
        }
        open_.back().items.push_back(std::move(value));
        return true;
    }
    bool open(Value::Kind kind) {
        if (open_.size() + static_cast<std::size_t>(level_) == max_depth) {
            return fail(fmt::format("nested more than {} deep", max_depth));
        }
        open_.push_back({kind, source_.line(), 0, {}, {}});
        return true;
    }
    bool close() {
        Value value = std::move(open_.back());
        open_.pop_back();
        return add(std::move(value));
    }
    bool fail(const std::string &what) {
        sink_.report({source_.line(), "", what, what});
        return false;
    }

    /// Handles a value that is not a structure of the level.
    void complete(const Value &value) {
        switch (level_) {
        case Level::text:
            return report(value, "", "an object of tables");
        case Level::tables:
            if (name_ != "version") {
                begin_table();
                return report_in_table(value, "a list of records");
            }
            if (value.kind != Value::Kind::number || value.number != record_version) {
                report(value, "version", std::to_string(record_version));
            }
            return;
        case Level::records:
            return report_in_table(value, "a record, an object of fields");
        case Level::fields:
            if (table_ != nullptr) {
                record_.field(name_, name_line_, value);
            }
        }
    }

    void begin_table() {
        table_ = stored_table(name_, name_line_, sink_);
        const auto [first, is_first] = tables_.emplace(name_, name_line_);
        if (table_ != nullptr && !is_first) {
            sink_.report(mismatch(name_line_, place_of(name_),
                                  fmt::format("a second time, first in line {}", first->second),
                                  "once"));
            table_ = nullptr;
        }
    }

    void report_in_table(const Value &value, const char *expected) {
        if (table_ != nullptr) {
            report(value, place_of(table_->name), expected);
        }
    }
    void report(const Value &value, std::string place, const std::string &expected) {
        sink_.report(mismatch(value.line, std::move(place), describe(value), expected));
    }

    const InputFile &source_;
    RecordSink &sink_;
    RecordBuilder record_;
    Level level_ = Level::text;
    const Table *table_ = nullptr; ///< null if the name is invalid
    std::string name_;
    std::size_t name_line_ = 0;
    std::vector<Value> open_;                   ///< lists and objects in a value
    std::map<std::string, std::size_t> tables_; ///< by name, with their lines
};

/// Builds no values: destroying a list allocates, and terminates the process if that fails.
struct SyntaxCheck : nlohmann::detail::json_sax_acceptor<nlohmann::json> {
    std::size_t error_at = 0; ///< counted from 1; 0 if a number is too large

    bool parse_error(std::size_t position, const std::string &,
                     const nlohmann::detail::exception &error) {
        const bool syntax = dynamic_cast<const nlohmann::json::parse_error *>(&error) != nullptr;
        error_at = syntax ? position : 0;
        return false;
    }
};

Diagnostic text_after_nul(std::size_t line) {
    return mismatch(line, "", "a NUL character", "the end of the text");
}

} // namespace

bool is_json_line(std::string_view text) {
    const std::size_t last = text.find_last_not_of(" \t\r");
    SyntaxCheck check;
    if (nlohmann::json::sax_parse(text.begin(), text.end(), &check)) {
        return true;
    }
    // A value that continues on the next line has a syntax error only at the end of this one.
    return text.front() == '{' && text[last] == '}' && check.error_at <= last + 1;
}

void read_json(InputFile &source, RecordSink &sink) {
    RecordParser parser(source, sink);
    const bool right =
        nlohmann::json::sax_parse(SourceIterator(&source), SourceIterator(nullptr), &parser);
    if (right && source.peek() != InputFile::end) { // the parser stops at NUL
        sink.report(text_after_nul(source.line()));
    }
}

void read_json_lines(InputFile &source, RecordSink &sink) {
    for (std::string line; source.read_line(line);) {
        if (line.find_first_not_of(" \t") != line.npos) {
            RecordParser parser(source, sink);
            const bool right = nlohmann::json::sax_parse(line.begin(), line.end(), &parser);
            if (right && line.find('\0') != line.npos) {
                sink.report(text_after_nul(source.line()));
            }
        }
    }
}

} // namespace l2vpn::records
