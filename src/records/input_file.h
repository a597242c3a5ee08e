// SPDX-License-Identifier: MIT
// Reads a text file of any length in blocks, and counts its lines.
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

/// A file cannot be read or written; what() gives the file and the reason.
class FileError : public std::runtime_error {
public:
    /// Takes the reason from errno.
    FileError(const std::string &path, const std::string &what);
};

class InputFile {
public:
    static constexpr int end = -1;

    /// @param path  "-" for standard input
    /// @throws FileError, Interrupted; so does every function that reads
    explicit InputFile(const std::string &path);
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    const std::string &name() const { return name_; }

    /// The next character, without consuming it; or end.
    int peek() {
        return at_ < piece_.size() || fill() ? static_cast<unsigned char>(piece_[at_]) : end;
    }
    /// Consumes the next character; must not be called at the end. A newline belongs to the line
    /// that it ends, so a reader one character ahead is still on its line.
    void skip() {
        line_ += after_newline_ ? 1 : 0;
        after_newline_ = piece_[at_++] == '\n';
    }
    /// The line of the last consumed character; 1 at the beginning.
    std::size_t line() const { return line_; }

    /// Reads the rest of the line, without its end. Returns false at the end of the file.
    bool read_line(std::string &text);

    /// The next line, or as much of it as fits into the buffer, without consuming it.
    std::string_view line_ahead();

    /// Consumed bytes, and the size of the file; 0 if that is unknown.
    std::uint64_t position() const { return before_ + at_; }
    std::uint64_t size() const { return size_; }

private:
    /// An open file; closes it unless it is standard input.
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
