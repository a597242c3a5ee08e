// SPDX-License-Identifier: MIT
#include "tool/result_table.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <regex>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "records/csv_reader.h"
#include "records/record_reader.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t gap = 2;           ///< blanks between two columns
constexpr std::size_t narrowest = 16;    ///< to which a text column may shrink
constexpr std::string_view dash = "-";   ///< a cell without a value
constexpr std::size_t longest_zero = 17; ///< a MAC address; longer zeros are shown as "0"

std::string display(const Cell &cell) {
    if (cell.type == Cell::Type::none) {
        return std::string(dash);
    }
    return cell.zero && cell.text.size() > longest_zero ? "0" : cell.text;
}

std::string dump(const Json &value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// One row of wrapped, padded cells.
void print_row(std::FILE *to, const std::vector<std::string> &cells,
               const std::vector<std::size_t> &columns, const std::vector<std::size_t> &widths,
               const std::vector<bool> &numeric, bool heading) {
    std::vector<std::vector<std::string>> wrapped;
    std::size_t height = 1;
    for (const std::size_t i : columns) {
        wrapped.push_back(heading || numeric[i] ? std::vector{cells[i]}
                                                : wrap(cells[i], widths[i]));
        height = std::max(height, wrapped.back().size());
    }
    for (std::size_t y = 0; y < height; ++y) {
        std::string line;
        for (std::size_t x = 0; x < columns.size(); ++x) {
            const std::string text = y < wrapped[x].size() ? wrapped[x][y] : "";
            const std::size_t width = widths[columns[x]];
            const std::string fill(width - std::min(width, width_of(text)), ' ');
            line += numeric[columns[x]] ? fill + text : text + fill;
            line.append(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print(to, "{}\n", heading ? bold(line) : line);
    }
}

} // namespace

Cell::Cell(const std::vector<std::string> &names)
    : type(Type::names), text(fmt::format("{}", fmt::join(names, ", "))) {}

Cell::Cell(double number, int decimals)
    : type(Type::number), text(fmt::format("{:.{}f}", number, decimals)) {}

std::string Cell::json() const {
    switch (type) {
    case Type::none:
        return "null";
    case Type::number:
        return text;
    case Type::list:
        return '[' + text + ']';
    case Type::names:
        return "[\"" + std::regex_replace(text, std::regex(", "), "\",\"") + "\"]";
    case Type::text:
        break;
    }
    const bool plain = std::ranges::all_of(
        text, [](char each) { return each >= ' ' && each <= '~' && each != '"' && each != '\\'; });
    return plain ? '"' + text + '"' : dump(text); // most cells need no escapes
}

void ResultTable::each(const Visitor &visit) const {
    if (source_) {
        source_(visit);
    } else {
        std::ranges::for_each(rows_, visit);
    }
}

Json ResultTable::json() const {
    Json result = form_ == JsonForm::tree ? Json::object() : Json::array();
    each([&](const Row &row) {
        if (form_ == JsonForm::tree) {
            Json *node = &result;
            for (std::size_t i = 0; i + 1 < row.size(); ++i) {
                node = &(*node)[row[i].text];
            }
            *node = Json::parse(row.back().json());
            return;
        }
        Json &object = result.emplace_back(Json::object());
        for (std::size_t i = 0; i < row.size(); ++i) {
            object[columns_[i].name] = Json::parse(row[i].json());
        }
    });
    return result;
}

std::size_t ResultTable::print(const Arguments &arguments, std::FILE *to) const {
    if (!arguments.json && !arguments.csv) {
        return print_columns(to);
    }
    if (arguments.json && form_ != JsonForm::records) {
        fmt::print(to, "{}", json_line(name_, json()));
        return rows_.size();
    }
    const auto joined = [&](const auto &items, const auto &text) {
        std::string result;
        for (std::size_t i = 0; i < items.size(); ++i) {
            result += (i == 0 ? "" : ",") + text(i);
        }
        return result;
    };
    if (arguments.csv) {
        fmt::print(to, "{}\n", joined(columns_, [&](std::size_t i) { return columns_[i].name; }));
    }
    std::size_t rows = 0;
    each([&](const Row &row) {
        ++rows;
        if (arguments.csv) {
            fmt::print(to, "{}\n",
                       joined(row, [&](std::size_t i) { return records::csv_cell(row[i].text); }));
            return;
        }
        const std::string members = joined(row, [&](std::size_t i) {
            return fmt::format("\"{}\":{}", columns_[i].name, row[i].json());
        });
        fmt::print(to, "{}", json_line(fmt::format("\"{}\":[{{{}}}]", name_, members)));
    });
    return rows;
}

/// Divides the columns into groups that fit. First, the widest text column is narrowed, if that is
/// enough. Otherwise, each group begins with the key columns.
std::vector<ResultTable::Group> ResultTable::groups_for(const Group &shown,
                                                        const std::vector<bool> &numeric,
                                                        std::vector<std::size_t> &widths,
                                                        std::size_t room) const {
    const auto width_of_group = [&](const Group &group) {
        return std::accumulate(
                   group.begin(), group.end(), std::size_t{0},
                   [&](std::size_t sum, std::size_t i) { return sum + widths[i] + gap; }) -
               gap;
    };
    const std::size_t total = width_of_group(shown);
    if (total <= room) {
        return {shown};
    }
    const std::size_t widest = *std::ranges::max_element(
        shown, {}, [&](std::size_t i) { return numeric[i] ? 0 : widths[i]; });
    const std::size_t excess = total - room;
    if (!numeric[widest] && widths[widest] >= excess + narrowest) {
        widths[widest] -= excess;
        return {shown};
    }
    Group keys, others;
    std::ranges::partition_copy(shown, std::back_inserter(keys), std::back_inserter(others),
                                [&](std::size_t i) { return columns_[i].key; });
    const std::size_t taken = keys.empty() ? 0 : width_of_group(keys) + gap;
    std::vector<Group> groups;
    for (const std::size_t i : others) {
        widths[i] = numeric[i]
                        ? widths[i]
                        : std::min(widths[i], std::max(narrowest, room - std::min(room, taken)));
        if (groups.empty() || width_of_group(groups.back()) + gap + widths[i] > room) {
            groups.push_back(keys);
        }
        groups.back().push_back(i);
    }
    return groups.empty() ? std::vector<Group>{keys} : groups;
}

std::size_t ResultTable::print_columns(std::FILE *to) const {
    std::vector<std::string> headings;
    std::vector<std::size_t> widths;
    for (const Column &column : columns_) {
        headings.push_back(column.heading.empty() ? column.name : column.heading);
        widths.push_back(width_of(headings.back()));
    }
    std::vector<bool> numeric(columns_.size(), true), zero(columns_.size(), omit_zero_);
    std::size_t rows = 0;
    each([&](const Row &row) {
        ++rows;
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], width_of(display(row[i])));
            numeric[i] = numeric[i] && row[i].type <= Cell::Type::number;
            zero[i] = zero[i] && row[i].zero && !columns_[i].key;
        }
    });
    if (rows == 0) {
        return 0;
    }
    Group shown;
    std::vector<std::string> omitted;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        zero[i] ? omitted.push_back(columns_[i].name) : shown.push_back(i);
    }
    const std::size_t room = terminal_width(to, SIZE_MAX);
    const char *separator = "";
    for (const Group &group : groups_for(shown, numeric, widths, room)) {
        fmt::print(to, "{}", std::exchange(separator, "\n"));
        print_row(to, headings, group, widths, numeric, true);
        each([&](const Row &row) {
            std::vector<std::string> cells(row.size());
            std::ranges::transform(row, cells.begin(), display);
            print_row(to, cells, group, widths, numeric, false);
        });
    }
    if (!omitted.empty()) {
        constexpr std::string_view title = "0 in all: ";
        const auto lines =
            wrap(fmt::format("{}", fmt::join(omitted, ", ")), room - std::min(room, title.size()));
        fmt::print(to, "{}\n",
                   dim(fmt::format("{}{}", title,
                                   fmt::join(lines, "\n" + std::string(title.size(), ' ')))));
    }
    return rows;
}

void ResultTable::print_vertically() const {
    std::size_t widest = 0;
    for (const Column &column : columns_) {
        widest = std::max(widest, column.name.size());
    }
    const std::size_t indent = gap + widest + gap;
    const std::size_t room = terminal_width(stdout, SIZE_MAX);
    each([&](const Row &row) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const auto lines = wrap(display(row[i]), room - std::min(room, indent));
            const std::string text = fmt::format("  {:<{}}  {}", columns_[i].name, widest,
                                                 fmt::join(lines, "\n" + std::string(indent, ' ')));
            fmt::print("{}\n", row[i].zero ? dim(text) : text);
        }
    });
}

std::string json_line(const std::string &members) {
    return fmt::format("{{\"version\":{},{}}}\n", records::record_version, members);
}

std::string json_line(const std::string &name, const Json &value) {
    return json_line(fmt::format("\"{}\":{}", name, dump(value)));
}

} // namespace l2vpn::tool
