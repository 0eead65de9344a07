// What the fuzz targets share. Each is one LLVMFuzzerTestOneInput that takes its values from the
// input, works on the real paths in a sandbox, and stops at the first DEMAND that does not hold;
// libFuzzer then keeps the input. A text in a seed ends at a backslash and the character after it;
// numbers come from the seed's end (FuzzedDataProvider).
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <fuzzer/FuzzedDataProvider.h>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// TEXT with its odd bytes as \x.., in quotes.
std::string shown(const std::string &text);

#define DEMAND(condition, ...)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "FAULT: not so: %s: ", #condition);                                    \
            for (const std::string &part : std::vector<std::string>{__VA_ARGS__})                  \
                fprintf(stderr, "%s ", shown(part).c_str());                                       \
            fprintf(stderr, "\n");                                                                 \
            abort();                                                                               \
        }                                                                                          \
    } while (false)

inline std::string file_text(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void put_file(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::trunc) << text;
}

// Up to LIMIT bytes, none of them NUL.
inline std::string take_text(FuzzedDataProvider &input, size_t limit) {
    std::string text = input.ConsumeRandomLengthString(limit);
    return text.substr(0, text.find('\0'));
}
