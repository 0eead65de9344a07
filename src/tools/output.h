// Standard output, collected and written at once: plain text, and JSON, one value a line or in a
// nested object. Nothing here allocates. What cannot be written is remembered and reported once.
#pragma once

#include <string_view>

namespace output {

[[gnu::format(printf, 1, 2)]] void print(const char *format, ...);
void put(std::string_view text);

// The same for text of unknown origin: what a terminal would obey is shown as '?'.
void put_plain(std::string_view text);

// Writes to FD instead of standard output from now on.
void redirect(int fd);

// Writes what is collected; the exit status that follows from all that was written so far.
int flush();

// JSON. Members take a name, elements of a list a null one; commas and escapes are seen to. Bytes
// that are no UTF-8 are shown as U+FFFD, so that every line is valid whatever the router holds.
void open(const char *name, char bracket); // '{' or '['
void close(char bracket);                  // '}' or ']'
void text_member(const char *name, std::string_view text);
void word_member(const char *name, std::string_view word); // what no filter is to change
void number_member(const char *name, long number);
void seconds_member(const char *name, long long microseconds); // as 1.234567
void bool_member(const char *name, bool value);
void null_member(const char *name);
void end_line(); // after the outermost object

// Every text_member passes through it before it is escaped, to be changed on its way. Null: none.
using text_filter = std::string_view (*)(std::string_view text);
void filter_texts(text_filter filter);

} // namespace output
