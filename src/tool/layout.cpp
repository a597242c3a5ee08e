// SPDX-License-Identifier: MIT
// Pictures of records and keys, eight bytes per row, in the terminal and as SVG.
#include <algorithm>
#include <array>
#include <span>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tool/command.h"
#include "tool/operands.h"
#include "tool/record_output.h"
#include "tool/terminal.h"

namespace l2vpn::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t row_bytes = 8;
constexpr std::size_t no_field = SIZE_MAX; // padding

/// The part of a field in one row: bytes [from, to) of the row.
struct Piece {
    std::size_t row, from, to;
    std::size_t field; ///< by number in the table
    std::string label;
};

struct Picture {
    std::string title;
    std::vector<Piece> pieces;
    std::vector<std::size_t> offsets; ///< of the rows
};

/// Divides extents into rows. Whole rows of one field become one.
Picture picture_of(const Table &table, std::string title, const std::vector<Extent> &extents) {
    Picture picture{std::move(title), {}, {}};
    for (const auto &[begin, width, field] : extents) {
        const std::size_t end = begin + width;
        std::string label = field == nullptr ? "" : field->name;
        if (width > row_bytes) {
            label += fmt::format(" ({} bytes)", width);
        }
        for (std::size_t at = begin, taken = 0; at < end; at += taken) {
            const std::size_t from = at % row_bytes, rows = (end - at) / row_bytes;
            if (from == 0) {
                picture.offsets.push_back(at);
            }
            const bool merged = from == 0 && rows > 1;
            taken = merged ? rows * row_bytes : std::min(end - at, row_bytes - from);
            picture.pieces.push_back(
                {picture.offsets.size() - 1, from, merged ? row_bytes : from + taken,
                 field == nullptr ? no_field
                                  : static_cast<std::size_t>(field - table.fields.data()),
                 merged ? label + " ⋮" : label});
            label.clear();
        }
    }
    return picture;
}

Picture key_picture(const Table &table, const Key &key) {
    std::vector<Extent> members;
    std::size_t at = 0;
    for (const Field &member : key.members) {
        members.push_back({at, member.width, table.field(member.name)});
        at += member.width;
    }
    return picture_of(table, fmt::format("key {}, {}, {:#010x}", key.index, key.name, key.word()),
                      members);
}

/// Groups of pictures: the caller record, the stored record, the keys.
std::vector<std::vector<Picture>> pictures_of(const Table &table) {
    const auto record = [&](const char *name, std::size_t size, std::size_t Field::*offset) {
        return picture_of(table, fmt::format("{} record, {} bytes", name, size),
                          extents_of(table, size, offset));
    };
    std::vector<std::vector<Picture>> groups;
    groups.push_back({record("caller", table.record_size, &Field::offset)});
    if (table.access) {
        groups.push_back({record("stored", table.stored_size, &Field::stored_offset)});
    }
    auto &keys = groups.emplace_back();
    std::ranges::transform(table.keys, std::back_inserter(keys),
                           [&](const Key &key) { return key_picture(table, key); });
    return groups;
}

/// The text, cut to a number of characters.
std::string shortened(const std::string &text, std::size_t width) {
    if (width_of(text) <= width) {
        return text;
    }
    return width == 0 ? "" : text.substr(0, width - 1) + "…"; // names are ASCII
}

// ---- In the terminal ---------------------------------------------------------------------------

constexpr std::size_t margin = 5; // for the offsets

/// Box-drawing lines. Each point records the directions of its lines.
class Canvas {
public:
    Canvas(std::size_t rows, std::size_t byte_width)
        : byte_width_(byte_width), width_(row_bytes * byte_width + 1),
          lines_(2 * rows + 1, std::vector<unsigned>(width_, 0)), texts_(rows) {}

    void draw(const Piece &piece) {
        const std::size_t left = piece.from * byte_width_, right = piece.to * byte_width_;
        const std::size_t top = 2 * piece.row, bottom = top + 2;
        for (std::size_t x = left; x < right; ++x) {
            for (const std::size_t y : {top, bottom}) {
                lines_[y][x] |= go_right;
                lines_[y][x + 1] |= go_left;
            }
        }
        for (std::size_t y = top; y < bottom; ++y) {
            for (const std::size_t x : {left, right}) {
                lines_[y][x] |= go_down;
                lines_[y + 1][x] |= go_up;
            }
        }
        texts_[piece.row].push_back(piece);
    }

    std::vector<std::string> lines(const std::vector<std::size_t> &offsets) const {
        std::vector<std::string> result;
        for (std::size_t y = 0; y < lines_.size(); ++y) {
            std::string line =
                y % 2 == 0 ? std::string(margin, ' ') : dim(fmt::format("{:>4} ", offsets[y / 2]));
            result.push_back(line + (y % 2 == 0 ? border(y) : texts(y)));
        }
        return result;
    }
    std::size_t width() const { return margin + width_; }

private:
    static constexpr unsigned go_up = 1, go_down = 2, go_left = 4, go_right = 8;

    std::string border(std::size_t y) const {
        static constexpr std::array<std::string_view, 16> boxes{
            " ", "╵", "╷", "│", "╴", "┘", "┐", "┤", "╶", "└", "┌", "├", "─", "┴", "┬", "┼"};
        std::string line;
        for (const unsigned directions : lines_[y]) {
            line += boxes[directions];
        }
        return line;
    }
    std::string texts(std::size_t y) const {
        std::string line = "│";
        std::size_t end = 0;
        for (const Piece &piece : texts_[y / 2]) {
            const std::size_t width = (piece.to - piece.from) * byte_width_ - 1;
            const std::string text = shortened(piece.label, width);
            const std::string gap(width - width_of(text), ' ');
            line += piece.field == no_field ? dim(std::string(width, '.'))
                                            : tinted(text, piece.field) + gap;
            line += "│";
            end = piece.to;
        }
        return line + std::string((row_bytes - end) * byte_width_, ' ');
    }

    std::size_t byte_width_, width_;
    std::vector<std::vector<unsigned>> lines_;
    std::vector<std::vector<Piece>> texts_;
};

void print(const std::vector<std::vector<Picture>> &groups) {
    constexpr std::size_t least_beside = 4, least = 2, most = 8, gap = 2, usual = 132;
    const std::size_t there = terminal_width(stdout, usual);
    const auto byte_width_in = [](std::size_t room) {
        return (room - std::min(room, margin + 1)) / row_bytes;
    };
    const std::size_t in_part = byte_width_in((there + gap) / groups.size() - gap);
    const bool beside = in_part >= least_beside;
    const std::size_t byte_width = std::clamp(beside ? in_part : byte_width_in(there), least, most);
    const std::size_t width = margin + row_bytes * byte_width + 1;
    std::vector<std::vector<std::string>> columns;
    for (const std::vector<Picture> &group : groups) {
        if (beside || columns.empty()) {
            columns.emplace_back();
        }
        for (const Picture &picture : group) {
            if (!columns.back().empty()) {
                columns.back().emplace_back(width, ' ');
            }
            const std::string title = shortened(picture.title, width);
            columns.back().push_back(bold(title) + std::string(width - width_of(title), ' '));
            Canvas canvas(picture.offsets.size(), byte_width);
            std::ranges::for_each(picture.pieces, [&](const Piece &piece) { canvas.draw(piece); });
            std::ranges::move(canvas.lines(picture.offsets), std::back_inserter(columns.back()));
        }
    }
    std::size_t height = 0;
    for (const auto &column : columns) {
        height = std::max(height, column.size());
    }
    for (std::size_t y = 0; y < height; ++y) {
        std::string line;
        for (const auto &column : columns) {
            line +=
                (y < column.size() ? column[y] : std::string(width, ' ')) + std::string(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print("{}\n", line);
    }
}

// ---- As SVG ------------------------------------------------------------------------------------

constexpr std::size_t svg_byte = 44, svg_row = 26, svg_margin = 36, svg_title = 24, svg_gap = 28;
constexpr std::size_t svg_width = svg_margin + row_bytes * svg_byte;

std::string svg_picture(const std::vector<Field> &names, const Picture &picture, std::size_t x,
                        std::size_t &y) {
    constexpr std::size_t letter = 7; // about its width
    std::string text = fmt::format("<text class=\"title\" x=\"{}\" y=\"{}\">{}</text>\n",
                                   x + svg_margin, y + svg_title - 8, picture.title);
    y += svg_title;
    for (std::size_t row = 0; row < picture.offsets.size(); ++row) {
        text += fmt::format("<text class=\"at\" x=\"{}\" y=\"{}\">{}</text>\n", x + svg_margin - 6,
                            y + row * svg_row + 17, picture.offsets[row]);
    }
    for (const Piece &piece : picture.pieces) {
        const std::size_t left = x + svg_margin + piece.from * svg_byte;
        const std::size_t width = (piece.to - piece.from) * svg_byte;
        const std::size_t top = y + piece.row * svg_row;
        const std::string colour =
            piece.field == no_field ? "gap" : fmt::format("c{}", piece.field % 6);
        text += fmt::format("<rect class=\"{}\" x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\">"
                            "<title>{}</title></rect>\n"
                            "<text x=\"{}\" y=\"{}\">{}</text>\n",
                            colour, left, top, width, svg_row,
                            piece.field == no_field ? "padding" : names[piece.field].name, left + 5,
                            top + 17, shortened(piece.label, (width - 6) / letter));
    }
    y += picture.offsets.size() * svg_row + svg_gap;
    return text;
}

std::string svg(const Table &table, const std::vector<std::vector<Picture>> &groups) {
    std::string body;
    std::size_t x = 0, height = 0;
    for (const std::vector<Picture> &group : groups) {
        std::size_t y = 0;
        for (const Picture &picture : group) {
            body += svg_picture(table.fields, picture, x, y);
        }
        height = std::max(height, y);
        x += svg_width + svg_gap;
    }
    static constexpr std::string_view style =
        "text{font:12px ui-monospace,monospace;fill:#1b1f24}.title{font-weight:bold}"
        ".at{text-anchor:end;fill:#6a737d}rect{stroke:#57606a;stroke-width:1}.gap{fill:#d0d7de}"
        ".c0{fill:#ddf4ff}.c1{fill:#fff8c5}.c2{fill:#fbefff}.c3{fill:#dafbe1}.c4{fill:#ffe7d1}"
        ".c5{fill:#e6e9ff}@media(prefers-color-scheme:dark){text{fill:#e6edf3}.at{fill:#8b949e}"
        "rect{stroke:#6e7681}.gap{fill:#30363d}.c0{fill:#0c3a5b}.c1{fill:#4b3b05}.c2{fill:#3f2a56}"
        ".c3{fill:#12421f}.c4{fill:#552d10}.c5{fill:#2a2f66}}";
    return fmt::format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {} {}\" "
                       "width=\"{}\" height=\"{}\" role=\"img\" aria-label=\"{}: layout\">\n"
                       "<style>{}</style>\n{}</svg>\n",
                       x - svg_gap + 1, height, x - svg_gap + 1, height, table.name, style, body);
}

void print_json(const Table &table, const std::vector<std::vector<Picture>> &groups) {
    auto pictures = Json::array();
    for (const std::vector<Picture> &group : groups) {
        for (const Picture &picture : group) {
            auto &shown = pictures.emplace_back();
            shown["title"] = picture.title;
            for (const Piece &piece : picture.pieces) {
                shown["pieces"].push_back(
                    {{"at", picture.offsets[piece.row]},
                     {"from", piece.from},
                     {"to", piece.to},
                     {"field",
                      piece.field == no_field ? Json() : Json(table.fields[piece.field].name)}});
            }
        }
    }
    fmt::print("{}", json_line("layout", pictures));
}

} // namespace

Exit run_layout(const Arguments &arguments) {
    const Table &table = table_named(arguments.table);
    const auto groups = pictures_of(table);
    if (!arguments.svg.empty()) {
        OutputFile output(arguments.svg);
        fmt::print(output.file(), "{}", svg(table, groups));
        output.finish();
    } else if (arguments.json) {
        print_json(table, groups);
    } else {
        print(groups);
    }
    return exit_done;
}

} // namespace l2vpn::tool
