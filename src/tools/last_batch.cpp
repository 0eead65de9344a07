#include "tools/last_batch.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/script_runner.h"
#include "platform/host/files.h"

std::string_view take_line(std::string_view &text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

last_batch read_last_batch() {
    constexpr std::string_view BEGUN = "# rewrite by ", RUN = "# executed by ";
    static char bytes[64 * 1024];
    last_batch batch;
    const host::descriptor file(
        host::open_regular(generated_path(TMP_SCRIPT).c_str(), O_RDONLY | O_NOFOLLOW));
    struct stat status;
    const ssize_t length = file < 0 ? 0 : read(file, bytes, sizeof bytes);
    if (length <= 0 || fstat(file, &status) != 0)
        return batch;
    batch.script = {bytes, static_cast<size_t>(length)};
    batch.written = status.st_mtime;
    for (std::string_view rest = batch.script; !rest.empty();) {
        const std::string_view line = take_line(rest);
        if (line.starts_with(BEGUN) && batch.owner.empty())
            memcpy(batch.owner.data(), &line[BEGUN.size()],
                   std::min(line.size() - BEGUN.size(), sizeof batch.owner.chars - 1));
        batch.is_run = batch.is_run || line.starts_with(RUN);
        batch.commands += is_command(line) ? 1 : 0;
    }
    return batch;
}
