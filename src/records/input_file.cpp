// SPDX-License-Identifier: MIT
#include "records/input_file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "records/interrupt.h"
#include "records/value.h"

namespace l2vpn::records {
namespace {

constexpr std::size_t piece_size = std::size_t{1} << 20;

/// Two readers would share its contents.
bool standard_input_taken = false;

} // namespace

std::string input_name(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

FileError::FileError(const std::string &path, const std::string &what)
    : std::runtime_error((path.size() > PATH_MAX ? in_quotes(path) : path) + ": " + what + ": " +
                         std::generic_category().message(errno)) {}

InputFile::Descriptor::Descriptor(const std::string &path)
    : number(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (number == STDIN_FILENO && std::exchange(standard_input_taken, true)) {
        throw std::runtime_error("standard input: cannot be read: a script or another file is read "
                                 "from it");
    }
}

InputFile::Descriptor::~Descriptor() {
    if (number == STDIN_FILENO) {
        standard_input_taken = false;
    } else if (number > STDIN_FILENO) {
        close(number);
    }
}

InputFile::InputFile(const std::string &path)
    : name_(input_name(path)), file_(path), buffer_(piece_size) {
    struct stat about {};
    if (file_.number < 0 || fstat(file_.number, &about) != 0) {
        throw FileError(name_, "cannot be read");
    }
    size_ = S_ISREG(about.st_mode) ? static_cast<std::uint64_t>(about.st_size) : 0;
    peek(); // a directory can be opened, but not read
}

/// Reads the bytes available: the writer of a pipe may be slow.
std::size_t InputFile::read_to(std::size_t offset) {
    ssize_t length = 0;
    do {
        check_interrupt();
        length = read(file_.number, buffer_.data() + offset, buffer_.size() - offset);
    } while (length < 0 && errno == EINTR);
    if (length < 0) {
        throw FileError(name_, "cannot be read");
    }
    return static_cast<std::size_t>(length);
}

bool InputFile::fill() {
    const std::size_t length = read_to(0);
    before_ += at_;
    at_ = 0;
    piece_ = {buffer_.data(), length};
    return !piece_.empty();
}

bool InputFile::read_line(std::string &text) {
    text.clear();
    if (peek() == end) {
        return false;
    }
    line_ += after_newline_ ? 1 : 0;
    after_newline_ = false;
    while (!after_newline_ && peek() != end) {
        const std::string_view rest = piece_.substr(at_);
        const std::size_t length = std::min(rest.find('\n'), rest.size());
        text += rest.substr(0, length);
        after_newline_ = length < rest.size();
        at_ += length + (after_newline_ ? 1 : 0);
    }
    if (text.ends_with('\r')) {
        text.pop_back();
    }
    return true;
}

std::string_view InputFile::line_ahead() {
    peek();
    std::size_t more = 1;
    while (piece_.find('\n', at_) == piece_.npos && piece_.size() < buffer_.size() && more > 0) {
        more = read_to(piece_.size());
        piece_ = {buffer_.data(), piece_.size() + more};
    }
    const std::string_view rest = piece_.substr(at_);
    return rest.substr(0, rest.find('\n'));
}

} // namespace l2vpn::records
