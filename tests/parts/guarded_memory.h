// SPDX-License-Identifier: MIT
// Memory that ends at an inaccessible page, so that an access beyond it ends the test.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace l2vpn::test {

class GuardedMemory {
public:
    /// Provides `size` bytes, filled with 0xA5.
    explicit GuardedMemory(std::size_t size)
        : size_(size), mapped_((size + page - 1) / page * page + page) {
        void *const memory =
            mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        start_ = static_cast<char *>(memory);
        std::memset(start_, 0xA5, mapped_ - page);
        mprotect(start_ + mapped_ - page, page, PROT_NONE);
    }
    ~GuardedMemory() { munmap(start_, mapped_); }
    GuardedMemory(const GuardedMemory &) = delete;
    GuardedMemory &operator=(const GuardedMemory &) = delete;

    [[nodiscard]] char *data() const { return start_ + (mapped_ - page - size_); }

private:
    static constexpr std::size_t page = 4096;

    std::size_t size_;
    std::size_t mapped_;
    char *start_ = nullptr;
};

} // namespace l2vpn::test
