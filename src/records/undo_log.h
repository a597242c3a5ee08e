// SPDX-License-Identifier: MIT
// Writes that can be taken back together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "records/table_schema.h"

namespace l2vpn::records {

class UndoLog {
public:
    /// Inserts or replaces a record of a table that has access.
    /// @param replaced  out, whether there was one
    /// @return the store's result
    /// @throws FileError, with the record not written, without room for what undo needs: that is
    ///         kept in a temporary file, however much is written
    std::uint32_t write(const Table &table, const Bytes &record, bool &replaced);

    /// Puts back everything that was written.
    /// @return how many records could not be
    std::size_t undo();

private:
    void append(const void *bytes, std::size_t size);
    void flush();

    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_{nullptr, &std::fclose};
    std::size_t in_file_ = 0; ///< the log's length there
    Bytes log_;               ///< what follows
};

} // namespace l2vpn::records
