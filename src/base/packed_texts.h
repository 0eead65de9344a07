// Texts that follow one another, each with its NUL: a table of pointers would cost a relocation for
// each of them.
#pragma once

#include <cstddef>

constexpr const char *next_text(const char *text) {
    while (*text != '\0')
        text++;
    return text + 1;
}

constexpr const char *nth_text(const char *texts, size_t n) {
    for (; n > 0; n--)
        texts = next_text(texts);
    return texts;
}
