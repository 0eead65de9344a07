#include "fuzz.h"

#include "sandbox.h"

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

std::string shown(const std::string &text) {
    std::string result = "\"";
    for (const char c : text) {
        char hex[8] = {c};
        if (c < ' ' || c > '~' || c == '"' || c == '\\')
            snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
        result += hex;
    }
    return result + "\"";
}
