// SPDX-License-Identifier: MIT
#include "records/undo_log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <fmt/format.h>
#include <unistd.h>

#include "records/input_file.h"
#include "records/interrupt.h"
#include "records/value.h"

namespace l2vpn::records {
namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 20;

/// An entry is a record, the replaced or else the inserted one, and this trailer: the log is read
/// backwards.
struct EntryEnd {
    const Table *table;
    bool replaced;
};

/// A multiple of the alignment of records.
std::size_t entry_size(const Table &table) {
    constexpr std::size_t alignment = alignof(std::uint64_t);
    return (table.record_size + alignment - 1) / alignment * alignment + sizeof(EntryEnd);
}

} // namespace

std::uint32_t UndoLog::write(const Table &table, const Bytes &record, bool &replaced) {
    const std::size_t size = entry_size(table);
    if (buffer_ == nullptr) {
        buffer_ = std::make_unique_for_overwrite<std::byte[]>(buffer_size);
    }
    if (in_buffer_ + size > buffer_size) {
        flush();
    }
    const auto length = static_cast<std::uint32_t>(record.size());
    std::byte *const entry = buffer_.get() + in_buffer_;
    std::ranges::copy(record, entry);
    replaced = table.access->read(entry, length) == L2VPN_DB_OK;
    const EntryEnd end{&table, replaced};
    std::memcpy(entry + size - sizeof end, &end, sizeof end);
    const std::uint32_t result = table.access->write(record.data(), length);
    if (result == L2VPN_DB_OK) {
        in_buffer_ += size;
        ++entries_;
    }
    return result;
}

std::size_t UndoLog::undo() noexcept {
    std::size_t failed = 0;
    while (entries_ > 0) {
        EntryEnd end{};
        std::size_t size = SIZE_MAX;
        if (in_buffer_ >= sizeof end) {
            std::memcpy(&end, buffer_.get() + in_buffer_ - sizeof end, sizeof end);
            size = entry_size(*end.table);
        }
        if (size > in_buffer_) { // the last entry begins in the file
            in_file_ += in_buffer_;
            in_buffer_ = std::min(in_file_, buffer_size);
            in_file_ -= in_buffer_;
            if (pread(fileno(file_.get()), buffer_.get(), in_buffer_,
                      static_cast<off_t>(in_file_)) != static_cast<ssize_t>(in_buffer_)) {
                failed += entries_;
                break;
            }
            continue;
        }
        in_buffer_ -= size;
        --entries_;
        const auto change = end.replaced ? end.table->access->write : end.table->access->remove;
        const auto length = static_cast<std::uint32_t>(end.table->record_size);
        failed += change(buffer_.get() + in_buffer_, length) == L2VPN_DB_OK ? 0U : 1U;
    }
    in_file_ = in_buffer_ = entries_ = 0;
    return failed;
}

/// Moves the buffer to the file. The buffer stays as it is if that fails.
void UndoLog::flush() {
    if (file_ == nullptr) {
        file_.reset(std::tmpfile());
    }
    ssize_t written = file_ == nullptr ? -1 : 0;
    std::size_t total = 0;
    while (written >= 0 && total < in_buffer_) {
        written = pwrite(fileno(file_.get()), buffer_.get() + total, in_buffer_ - total,
                         static_cast<off_t>(in_file_ + total));
        total += static_cast<std::size_t>(std::max(written, ssize_t{0}));
    }
    if (written < 0) {
        throw FileError("temporary file of the undo log", "cannot be written");
    }
    in_file_ += in_buffer_;
    in_buffer_ = 0;
}

void with_undo(const std::function<bool(UndoLog &)> &work) {
    UndoLog log;
    const auto undo = [&](const char *reason) {
        if (const std::size_t failed = log.undo(); failed > 0) {
            throw UndoError(fmt::format("{} could not be restored after: {}",
                                        counted(failed, "record"), reason));
        }
    };
    bool keep = false;
    try {
        keep = work(log);
    } catch (const Interrupted &) {
        undo("interrupt");
        throw;
    } catch (const std::bad_alloc &) {
        undo("out of memory");
        throw;
    } catch (const std::exception &error) {
        undo(error.what());
        throw;
    }
    if (!keep) {
        undo("errors in the input");
    }
}

} // namespace l2vpn::records
