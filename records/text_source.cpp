// SPDX-License-Identifier: MIT
#include "records/text_source.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/stat.h>

namespace l2vpn::records {
namespace {

constexpr std::size_t piece_size = std::size_t{1} << 18;

int leave_open(std::FILE *) {
    return 0;
}

} // namespace

FileError::FileError(const std::string &path, const std::string &what)
    : std::runtime_error(path + ": " + what + ": " + std::generic_category().message(errno)) {}

TextSource::TextSource(const std::string &path)
    : name_(path == "-" ? "standard input" : path),
      file_(path == "-" ? stdin : std::fopen(path.c_str(), "rb"),
            path == "-" ? &leave_open : &std::fclose),
      buffer_(piece_size) {
    struct stat about {};
    if (file_ == nullptr || fstat(fileno(file_.get()), &about) != 0) {
        throw FileError(name_, "cannot be read");
    }
    size_ = S_ISREG(about.st_mode) ? static_cast<std::uint64_t>(about.st_size) : 0;
    peek(); // a folder can be opened, but not read
}

bool TextSource::fill() {
    before_ += at_;
    at_ = 0;
    piece_ = {buffer_.data(), std::fread(buffer_.data(), 1, buffer_.size(), file_.get())};
    if (piece_.empty() && std::ferror(file_.get()) != 0) {
        throw FileError(name_, "cannot be read");
    }
    return !piece_.empty();
}

bool TextSource::read_line(std::string &text) {
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

std::string_view TextSource::ahead() {
    peek();
    return piece_.substr(at_);
}

} // namespace l2vpn::records
