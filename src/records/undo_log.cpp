// SPDX-License-Identifier: MIT
#include "records/undo_log.h"

#include <cstring>
#include <span>

#include <sys/mman.h>
#include <unistd.h>

#include "records/input_file.h"

namespace l2vpn::records {
namespace {

constexpr std::size_t kept_in_memory = std::size_t{1} << 20;

/// Stands behind each entry of the log, which is read backwards: a record may have been written
/// twice. The entry is what the store held, or the key alone if it held nothing.
struct EntryEnd {
    const Table *table;
    std::size_t size;
    bool existed;
};

std::uint32_t put_back(const EntryEnd &entry, std::span<const std::byte> bytes) {
    const Table &table = *entry.table;
    const auto length = static_cast<std::uint32_t>(table.record_size);
    if (entry.existed) {
        return table.access->write(bytes.data(), length);
    }
    Bytes record(table.record_size);
    for (const Field &member : table.primary_key().members) {
        std::memcpy(record.data() + member.offset, bytes.data(), member.width);
        bytes = bytes.subspan(member.width);
    }
    return table.access->remove(record.data(), length);
}

std::size_t undo_entries(std::span<const std::byte> log) {
    std::size_t failed = 0;
    while (!log.empty()) {
        EntryEnd end;
        std::memcpy(&end, log.data() + log.size() - sizeof end, sizeof end);
        log = log.first(log.size() - sizeof end);
        failed += put_back(end, log.last(end.size)) == L2VPN_DB_OK ? 0U : 1U;
        log = log.first(log.size() - end.size);
    }
    return failed;
}

} // namespace

std::uint32_t UndoLog::write(const Table &table, const Bytes &record, bool &replaced) {
    if (log_.size() > kept_in_memory) {
        flush();
    }
    const auto length = static_cast<std::uint32_t>(record.size());
    Bytes before = record;
    replaced = table.access->read(before.data(), length) == L2VPN_DB_OK;
    if (!replaced) {
        before = key_of(table.primary_key(), record);
    }
    const std::uint32_t result = table.access->write(record.data(), length);
    if (result == L2VPN_DB_OK) {
        const EntryEnd end{&table, before.size(), replaced};
        append(before.data(), before.size());
        append(&end, sizeof end);
    }
    return result;
}

std::size_t UndoLog::undo() {
    std::size_t failed = undo_entries(log_);
    if (in_file_ > 0) {
        void *const mapped =
            mmap(nullptr, in_file_, PROT_READ, MAP_PRIVATE, fileno(file_.get()), 0);
        if (mapped == MAP_FAILED) {
            throw FileError("temporary file for undoing", "cannot be read");
        }
        failed += undo_entries({static_cast<const std::byte *>(mapped), in_file_});
        munmap(mapped, in_file_);
    }
    log_.clear();
    in_file_ = 0;
    return failed;
}

void UndoLog::append(const void *bytes, std::size_t size) {
    const auto *const from = static_cast<const std::byte *>(bytes);
    log_.insert(log_.end(), from, from + size);
}

/// Whatever of the log does not get into the file stays in memory.
void UndoLog::flush() {
    if (file_ == nullptr) {
        file_.reset(std::tmpfile());
    }
    if (file_ == nullptr ||
        pwrite(fileno(file_.get()), log_.data(), log_.size(), static_cast<off_t>(in_file_)) !=
            static_cast<ssize_t>(log_.size())) {
        throw FileError("temporary file for undoing", "cannot be written");
    }
    in_file_ += log_.size();
    log_.clear();
}

} // namespace l2vpn::records
