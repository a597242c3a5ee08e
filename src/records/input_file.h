// SPDX-License-Identifier: MIT
// A text that is read piece by piece, however long it is, with the line that the reader is at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace l2vpn::records {

/// A path in messages: "standard input" for "-".
std::string input_name(const std::string &path);

/// A file cannot be read or written; what() says which, and why.
class FileError : public std::runtime_error {
public:
    /// With the reason in errno.
    FileError(const std::string &path, const std::string &what);
};

class InputFile {
public:
    static constexpr int end = -1;

    /// @param path  "-" for standard input
    /// @throws FileError and Interrupted, here and wherever something is read
    explicit InputFile(const std::string &path);
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    const std::string &name() const { return name_; }

    /// The next character, which stays the next one, or end.
    int peek() {
        return at_ < piece_.size() || fill() ? static_cast<unsigned char>(piece_[at_]) : end;
    }
    /// Goes past the next character, which is not the end. A newline belongs to the line that it
    /// ends: a reader that has looked one character too far is still on its line.
    void skip() {
        line_ += after_newline_ ? 1 : 0;
        after_newline_ = piece_[at_++] == '\n';
    }
    /// The line of the last character that was gone past; 1 at the beginning.
    std::size_t line() const { return line_; }

    /// Reads what is left of the line, without its end; false at the end of the text.
    bool read_line(std::string &text);

    /// The line that comes next, or as much of it as is read at a time.
    std::string_view line_ahead();

    /// For showing progress: bytes gone past, and in all; 0 if that is not known.
    std::uint64_t position() const { return before_ + at_; }
    std::uint64_t size() const { return size_; }

private:
    /// An open file, closed at the end but for standard input.
    struct Descriptor {
        explicit Descriptor(const std::string &path);
        Descriptor(const Descriptor &) = delete;
        Descriptor &operator=(const Descriptor &) = delete;
        ~Descriptor();

        int number;
    };

    bool fill();
    std::size_t read_to(std::size_t offset);

    std::string name_;
    Descriptor file_;
    std::vector<char> buffer_;
    std::string_view piece_;
    std::size_t at_ = 0;
    std::uint64_t before_ = 0;
    std::uint64_t size_ = 0;
    std::size_t line_ = 1;
    bool after_newline_ = false;
};

} // namespace l2vpn::records
