// SPDX-License-Identifier: MIT
// Replays a corpus through a fuzz target without a fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>

#include "tests/fuzz/fuzz.h"

int main(int argc, char **argv) {
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        // Sorted: a target may keep state between inputs, and runs must be reproducible.
        std::set<std::filesystem::path> files;
        for (const auto &entry : std::filesystem::directory_iterator(argv[i]))
            files.insert(entry.path());
        for (const std::filesystem::path &path : files) {
            std::ifstream file(path, std::ios::binary);
            const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
            std::cerr << "replaying " << path.string() << std::endl; // names the input of a crash
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(text.data()),
                                   text.size());
            ++replayed;
        }
    }
    if (replayed == 0)
        std::cerr << "no corpus files in " << (argc > 1 ? argv[1] : "the arguments") << '\n';
    return replayed == 0 ? 1 : 0;
}
