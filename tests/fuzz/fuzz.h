// What the fuzz targets share. Each is one LLVMFuzzerTestOneInput, in a sandbox and a file of its
// own, that takes its values from the input and stops at the first DEMAND that does not hold;
// libFuzzer then keeps the input. A text in a seed ends at a backslash and the character after it;
// numbers come from the seed's end (FuzzedDataProvider).
#pragma once

#include <algorithm>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

#include "files.h"
#include "sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// What is tested has no heap, and looking for leaks is refused in many containers.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

// In PID and network namespaces besides, since scripts are run here that can kill.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    const int status = enter_sandbox({*argv, *argv + *argc + 1}, "--pid --fork --kill-child --net");
    if (status != 0)
        exit(status);
    return 0;
}

// TEXT with its odd bytes as \x.., in quotes.
inline std::string shown(const std::string &text) {
    std::string result = "\"";
    for (const char c : text) {
        char hex[8] = {c};
        if (c < ' ' || c > '~' || c == '"' || c == '\\')
            snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
        result += hex;
    }
    return result + "\" ";
}

#define DEMAND(condition, ...)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "FAULT: not so: %s: ", #condition);                                    \
            for (const std::string &part : std::vector<std::string>{__VA_ARGS__})                  \
                fputs(shown(part).c_str(), stderr);                                                \
            fputs("\n", stderr);                                                                   \
            abort();                                                                               \
        }                                                                                          \
    } while (false)

// Up to LIMIT bytes, none of them NUL.
inline std::string take_text(FuzzedDataProvider &input, size_t limit) {
    const std::string text = input.ConsumeRandomLengthString(limit);
    return text.substr(0, text.find('\0'));
}

inline int take_number(FuzzedDataProvider &input, int least, int most) {
    return input.ConsumeIntegralInRange(least, most);
}
