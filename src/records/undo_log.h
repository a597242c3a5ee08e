// SPDX-License-Identifier: MIT
// Undo log: a group of writes to tables that can be rolled back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>

#include "records/table_schema.h"

namespace l2vpn::records {

/// Undoing allocates nothing. The log is a buffer of fixed size and a temporary file. Because
/// writes are undone in reverse order, the store has room for each restored record.
class UndoLog {
public:
    /// Inserts or replaces a record of a table with typed access, which must outlive the log.
    /// @param replaced  out, whether there was one
    /// @return the store's result
    /// @throws FileError if the temporary file cannot be written; the record is not written then
    std::uint32_t write(const Table &table, const Bytes &record, bool &replaced);

    /// Undoes all writes, the last one first.
    /// @return the number of records that could not be restored: the store rejected them, or the
    ///         temporary file could not be read
    std::size_t undo() noexcept;

private:
    void flush();

    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_{nullptr, &std::fclose};
    std::size_t in_file_ = 0; ///< bytes of the log in the file
    std::unique_ptr<std::byte[]> buffer_;
    std::size_t in_buffer_ = 0; ///< bytes of the log that follow in the buffer
    std::size_t entries_ = 0;
};

/// Undoing failed; what() gives the number of records and the original error.
class UndoError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs `work`, and undoes its writes if it returns false or throws.
/// @throws what `work` throws; UndoError instead if undoing fails
void with_undo(const std::function<bool(UndoLog &)> &work);

} // namespace l2vpn::records
