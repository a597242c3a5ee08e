// SPDX-License-Identifier: MIT
// Differential tests: the bounded print against the C library's, with formats built from the input;
// the bounded copy against std::copy_n; the tables' formatters against the tests' model.
#include <bit>
#include <list>
#include <string>
#include <tuple>
#include <type_traits>

#include "l2vpn_db/platform.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/facts.h"
#include "tests/support/table_list.h"

namespace l2vpn::test {
namespace {

// ---- The bounded print ------------------------------------------------------------------------

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

struct Printing {
    const char *format;
    std::size_t size;        ///< of the buffer
    std::size_t stated_size; ///< the size argument; larger than the buffer only if the text fits
};

template <class... Arguments>
void compare(const Printing &printing, Arguments... arguments) {
    const int length = std::snprintf(nullptr, 0, printing.format, arguments...);
    std::vector<char> expected(length < 0 ? 1 : static_cast<std::size_t>(length) + 1);
    if (length >= 0)
        (void)std::snprintf(expected.data(), expected.size(), printing.format, arguments...);
    const Exact buffer(printing.size, '#');
    char *const to = reinterpret_cast<char *>(buffer.data());
    const bool fits = length >= 0 && static_cast<std::size_t>(length) < printing.size;
    const int printed =
        sprintf_s(to, fits ? printing.stated_size : printing.size, printing.format, arguments...);
    if (fits) {
        require(printed == length, "length of a text that fits");
        require(std::equal(expected.begin(), expected.end(), to), "contents of a text that fits");
    } else {
        require(printed < 0, "result for a text that does not fit");
        require(printing.size == 0 || to[0] == '\0', "empty text if it does not fit");
    }
}

/// A width passed as an argument ("%*u").
struct Width {
    int value;
};
int passed(Width width) {
    return width.value;
}
template <class Value>
Value passed(Value value) {
    return value;
}

/// A random format for arguments of the given types, with random arguments.
class Format {
public:
    explicit Format(Input &input) : input_(input) {}

    template <class... Types>
    static void print(Input &input) {
        Format format(input);
        const std::tuple<Types...> arguments{format.add<Types>()...};
        format.end();
        std::apply([&](Types... values) { format.compare_with(passed(values)...); }, arguments);
    }

private:
    void literal() {
        for (const std::uint8_t byte : input_.bytes(input_.below(10)))
            if (byte != '\0' && byte != '%')
                format_ += static_cast<char>(byte);
        if (input_.one_in(16))
            format_ += "%%";
    }

    /// Begins a conversion. Returns whether it has no flags, width or precision.
    bool begin(bool with_precision = true) {
        literal();
        format_ += '%';
        const std::uint8_t choice = input_.byte();
        if (choice % 2 == 0 && !star_)
            return true;
        for (const char flag : {'-', '+', ' ', '#', '0'})
            if (input_.one_in(4))
                format_ += flag;
        if (star_)
            format_ += '*';
        else if (choice % 4 == 1)
            format_ += std::to_string(1 + input_.byte());
        star_ = false;
        if (with_precision && choice % 8 > 4)
            format_ += "." + std::to_string(input_.byte() % 64);
        return false;
    }

    void convert(std::initializer_list<const char *> conversions) {
        format_ += conversions.begin()[input_.below(conversions.size())];
    }

    template <class Type>
    Type add() {
        if constexpr (std::is_same_v<Type, Width>) {
            star_ = true;
            return {input_.byte() - 64};
        } else if constexpr (std::is_same_v<Type, unsigned>) {
            if (begin())
                convert({"u", "x"});
            else
                convert({"u", "x", "X", "o", "c", "hhu", "hx", "hhX"});
            const std::uint32_t value = input_.number<std::uint32_t>();
            return value >> value % 32;
        } else if constexpr (std::is_same_v<Type, int>) {
            begin();
            convert({"d", "i", "hd", "hhi"});
            return input_.number<int>();
        } else if constexpr (std::is_same_v<Type, unsigned long>) {
            begin();
            convert({"lu", "lx", "llu", "llX", "zu", "zx", "ju", "lo"});
            return input_.number<unsigned long>();
        } else if constexpr (std::is_same_v<Type, double>) {
            begin();
            convert({"f", "e", "g", "a", "E", "G"});
            return std::bit_cast<double>(input_.number<std::uint64_t>());
        } else {
            static_assert(std::is_same_v<Type, const char *>);
            const bool plain = begin(false);
            Bytes bytes = input_.bytes(input_.below(40));
            std::replace(bytes.begin(), bytes.end(), std::uint8_t{0}, std::uint8_t{'%'});
            if (!plain && input_.one_in(2)) // a precision replaces the terminator
                format_ += "." + std::to_string(bytes.size());
            else
                bytes.push_back(0);
            format_ += 's';
            texts_.emplace_back(bytes);
            return input_.one_in(16) ? nullptr : text(texts_.back());
        }
    }

    void end() {
        literal();
        if (input_.one_in(16)) // an incomplete conversion
            convert({"%", "%5", "%l"});
    }

    static char *text(const Exact &bytes) { return reinterpret_cast<char *>(bytes.data()); }

    template <class... Arguments>
    void compare_with(Arguments... arguments) {
        const Exact exact(
            std::span(reinterpret_cast<const std::uint8_t *>(format_.c_str()), format_.size() + 1));
        Printing printing{text(exact), 0, 0};
        const int length = std::snprintf(nullptr, 0, printing.format, arguments...);
        // A buffer of any size, or close to the size needed, which a fuzzer would rarely hit.
        const std::size_t around = static_cast<std::size_t>(std::max(length, 2)) + 3;
        const std::size_t choice = input_.number<std::uint16_t>();
        printing.size = choice < 0x8000 ? choice % 512 : around - choice % 6;
        printing.stated_size = printing.size;
        if (input_.one_in(4))
            printing.stated_size =
                std::max(printing.size, input_.number<std::size_t>() >> input_.below(64));
        compare(printing, arguments...);
        require(sprintf_s(nullptr, printing.stated_size, printing.format, arguments...) < 0,
                "no buffer");
        const char *volatile none = nullptr;
        require(sprintf_s(text(exact), exact.contents().size(), none, arguments...) < 0,
                "no format");
    }

    Input &input_;
    std::string format_;
    std::list<Exact> texts_;
    bool star_ = false; ///< the previous argument is the width of the next one
};

void print(Input &input) {
    using Unsigned = unsigned;
    using Long = unsigned long;
    using Text = const char *;
    switch (input.below(12)) {
    case 0:
        return Format::print<>(input);
    case 1:
        return Format::print<Unsigned>(input);
    case 2:
        return Format::print<Text>(input);
    case 3:
        return Format::print<Unsigned, Text>(input);
    case 4:
        return Format::print<Unsigned, Unsigned, Text>(input);
    case 5:
        return Format::print<Text, Unsigned, Text, Unsigned>(input);
    case 6: // more arguments than argument registers
        return Format::print<Unsigned, Unsigned, Unsigned, Unsigned, Unsigned, Unsigned, Unsigned,
                             Text>(input);
    case 7:
        return Format::print<Long, Unsigned, Text, Long>(input);
    case 8:
        return Format::print<int, Unsigned, int>(input);
    case 9:
        return Format::print<double, Unsigned, Text, double>(input);
    case 10:
        return Format::print<Width, Unsigned, Width, Text, Unsigned>(input);
    default:
        return Format::print<Unsigned, double, Long, Text, int, Unsigned, Text, double>(input);
    }
}

#pragma GCC diagnostic pop

// ---- The bounded copy -------------------------------------------------------------------------

void copy(Input &input) {
    const std::size_t size = 1 + input.below(96);
    const Exact bytes(input.bytes(size));
    Bytes expected(bytes.contents().begin(), bytes.contents().end());
    const std::size_t to = input.below(size);
    const std::size_t from = input.below(size);
    const std::size_t most = size - std::max(to, from);
    std::size_t count = input.below(most + 1);
    std::size_t stated_size = size - to;
    const std::uint8_t choice = input.byte();
    if (choice % 8 == 7) {
        count = input.number<std::size_t>() >> input.below(64);
        stated_size = std::min(count, most);
        count += count == stated_size ? 1 : 0;
    } else if (choice % 8 == 6) {
        stated_size = input.number<std::size_t>() | size;
    }
    std::uint8_t *const destination = choice >= 248 ? nullptr : bytes.data() + to;
    const std::uint8_t *const source =
        choice >= 244 && choice < 252 ? nullptr : bytes.data() + from;
    const bool overlap = from < to + count && to < from + count;
    const bool valid =
        destination != nullptr && source != nullptr && count <= stated_size && !overlap;
    if (valid)
        std::copy_n(expected.begin() + static_cast<std::ptrdiff_t>(from), count,
                    expected.begin() + static_cast<std::ptrdiff_t>(to));
    const int code = memcpy_s(destination, stated_size, source, count);
    require((code == 0) == valid, "memcpy_s result");
    require(std::ranges::equal(expected, bytes.contents()), "memory after memcpy_s");

    std::uint32_t counter = input.number<std::uint32_t>();
    const std::uint32_t before = counter;
    const auto amount = input.number<std::uint32_t>();
    require(ZAV_AtomicAdd(&counter, amount) == before + amount && counter == before + amount,
            "atomic add");
}

// ---- The formatters ---------------------------------------------------------------------------

void format(Input &input) {
    const SchemaTable &table = schema_tables[input.below(schema_tables.size())];
    const Facts &expected = facts(table.name);
    const std::uint8_t choice = input.byte();
    Bytes contents = input.bytes(input.below(200));
    contents.resize(expected.record_size, contents.empty() ? std::uint8_t{0} : contents.back());
    Bytes separator = input.bytes(input.below(12));
    std::erase(separator, 0);
    const std::string text(separator.begin(), separator.end());
    separator.push_back(0);
    const Exact separator_bytes(separator);
    // The text may contain an address in the record, so the model must use the same object.
    const Bytes &record = contents;

    const std::vector<Piece> pieces = printed_pieces(expected, record, text);
    std::size_t needed = 1;
    for (const Piece &piece : pieces)
        needed += piece.text.size();
    const std::size_t size_choice = input.number<std::uint16_t>();
    const std::size_t size =
        size_choice < 0x8000 ? size_choice % (needed + 8) : needed + 1 - size_choice % 3;
    const Exact buffer(size, '#');
    char *const to = choice % 64 == 63 ? nullptr : reinterpret_cast<char *>(buffer.data());
    const void *const from = choice % 64 == 62 ? nullptr : record.data();
    const char *const between =
        choice % 64 == 61 ? nullptr : reinterpret_cast<const char *>(separator_bytes.data());
    const std::uint32_t id = choice % 4 == 3 ? input.number<std::uint32_t>() : UINT32_MAX;
    const std::uint32_t result =
        table.format(id, from, to, static_cast<std::uint32_t>(size), between);

    if (size == 0 || to == nullptr || from == nullptr || between == nullptr) {
        require(result == L2VPN_AST_ERR, "result for an invalid argument");
        for (const std::uint8_t byte : buffer.contents())
            require(byte == '#', "buffer unchanged after an invalid argument");
        return;
    }
    const std::string unsupported = "not support";
    if (id == UINT32_MAX) {
        const std::string line = printed_text(pieces, size);
        require(result == line.size() && line == to, "formatted line");
        const Exact again(size, '#');
        require(table.format_table(from, reinterpret_cast<char *>(again.data()),
                                   static_cast<std::uint32_t>(size), between) == result &&
                    std::ranges::equal(again.contents().first(result + 1),
                                       buffer.contents().first(result + 1)),
                "line of the table's formatter");
    } else if (unsupported.size() < size) {
        require(result == unsupported.size() && unsupported == to, "unknown presentation");
    } else {
        require(static_cast<std::int32_t>(result) < 0, "unknown presentation that does not fit");
    }
}

} // namespace
} // namespace l2vpn::test

// AddressSanitizer's printf interceptor does not support all of the C library's formats.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options() {
    return "check_printf=0";
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace l2vpn::test;
    Input input(data, size);
    // Several calls per input, to detect state that leaks from one call into the next.
    while (!input.empty()) {
        switch (input.below(4)) {
        case 0:
        case 1:
            print(input);
            break;
        case 2:
            copy(input);
            break;
        default:
            format(input);
        }
    }
    return 0;
}
