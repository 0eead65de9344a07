// uplinkctl compare: where the daemon decided differently in two recordings. What it does is
// compared lane by lane, each in its own order, since between lanes the order is a matter of
// timing; times and numbers of processes say nothing.
#include <algorithm>
#include <array>
#include <cstdint>

#include "tools/cli.h"
#include "tools/names.h"
#include "tools/output.h"
#include "tools/recording.h"
#include "tools/uplinkctl.h"
#include "wan/flags.h"

using recording::cursor;
using recording::event;

namespace {

// What belongs together, as the event's kind and two more of its values say.
struct lane {
    recording::kind kind;
    std::string_view first, second;

    bool operator==(const lane &) const = default;
};

// What the daemon or one of its clients stores; other items are what it goes by.
bool is_outcome(std::string_view digits) {
    int id = 0, wan = 0;
    cli::take_number(digits, 10, id);
    names::item_row row;
    return names::find_item(id, row, wan) && row.writer != item_writer::router;
}

// False for what the daemon did not do.
bool find_lane(const event &seen, lane &found) {
    found = {seen.is, {}, {}};
    switch (seen.is) {
    case recording::DECISION:
    case recording::DAEMON: return true;
    case recording::BATCH: return seen.word(recording::STATE) == "run";
    case recording::FLAG: return seen.word(recording::NAME) == SUBNET_CONFLICT_FLAG;
    case recording::SENT: found.first = seen.word(recording::TO); return true;
    case recording::ITEM: found.first = seen.values[recording::ID]; return is_outcome(found.first);
    case recording::CLIENT_LIFE:
        found.first = seen.word(recording::CLIENT);
        found.second = seen.values[recording::WAN];
        return true;
    case recording::SETTING:
    case recording::FILE_THERE:
    case recording::RECEIVED:
    case recording::MISSED:
    case recording::LIVE:
    case recording::OTHER: break;
    }
    return false;
}

bool is_input(const event &seen) {
    lane ignored;
    return (seen.is <= recording::FILE_THERE || seen.is == recording::RECEIVED) &&
           !find_lane(seen, ignored);
}

// ---- one lane of one recording

// A client that goes into the background does so as another process, which is no news. One that
// appears after a batch has run is a new one, since batches stop all clients first.
struct walker {
    walker(const recording::contents &file, const lane &of) : at(file), wanted(of) {}

    cursor at;
    lane wanted;
    size_t batches = 0;           // so far, that were to start the client
    size_t batches_at_client = 0; // when a client was last seen
    std::string_view client_pid;
};

std::string_view lines_of(const event &batch) {
    const std::string_view list = batch.values[recording::LINES];
    return list.size() < 2 ? list : list.substr(1, list.size() - 2);
}

// Whether one of the batch's lines begins with the name of the PROGRAM.
bool starts(const event &batch, std::string_view program) {
    for (std::string_view lines = lines_of(batch); !lines.empty();) {
        std::string_view line = recording::take_element(lines);
        if (line.empty())
            return false;
        line.remove_prefix(1);
        if (line.starts_with(program) && line.substr(program.size()).starts_with(' '))
            return true;
    }
    return false;
}

bool next_of_lane(walker &walk, event &found) {
    lane seen;
    while (recording::next(walk.at, found)) {
        const bool is_in_lane = find_lane(found, seen);
        if (is_in_lane && seen.kind == recording::BATCH && starts(found, walk.wanted.first))
            walk.batches++;
        if (is_in_lane && seen == walk.wanted)
            return true;
    }
    return false;
}

bool goes_on(const walker &walk, const event &appeared) {
    return appeared.word(recording::STATE) == "background" &&
           walk.batches == walk.batches_at_client;
}

// Whether the client lives or ends by this event, rather than only becoming another process.
bool is_news_of_client(walker &walk, const event &seen) {
    const std::string_view pid = seen.values[recording::PID];
    if (seen.word(recording::STATE) == "ended") {
        walker ahead = walk;
        event later;
        return pid == walk.client_pid && !(next_of_lane(ahead, later) && goes_on(ahead, later));
    }
    const bool is_new = !goes_on(walk, seen);
    walk.client_pid = pid;
    walk.batches_at_client = walk.batches;
    return is_new;
}

// The next event that counts, which the state at the start does not.
bool next_outcome(walker &walk, event &found) {
    while (next_of_lane(walk, found)) {
        const bool is_news =
            walk.wanted.kind != recording::CLIENT_LIFE || is_news_of_client(walk, found);
        if (is_news && walk.at.is_live)
            return true;
    }
    return false;
}

bool is_same(const lane &of, const event &a, const event &b) {
    using namespace recording;
    if (of.kind == CLIENT_LIFE) // whether it has started or ended
        return (a.word(STATE) == "ended") == (b.word(STATE) == "ended");
    for (const member which :
         {ID, NEW, STATE, OWNER, LINES, TO, ACCEPTED, WAN_MODE, STRATEGY, PRIORITY, RULE, TEXT})
        if (a.values[which] != b.values[which])
            return false;
    return true;
}

// ---- all lanes

std::array<lane, 400> lanes;
size_t lane_count = 0;

bool collect_lanes(const recording::contents &file) {
    cursor at(file);
    event seen;
    lane found;
    while (recording::next(at, seen)) {
        if (!find_lane(seen, found))
            continue;
        size_t place = 0;
        while (place < lane_count && !(lanes[place] == found))
            place++;
        if (place == lanes.size())
            return false;
        if (place == lane_count)
            lanes[lane_count++] = found;
    }
    return true;
}

// Whether a value of the item was overwritten before it could be read: then only the last is known.
bool has_missed(const recording::contents &file, std::string_view name) {
    cursor at(file);
    event seen;
    while (recording::next(at, seen))
        if (seen.is == recording::MISSED && seen.word(recording::NAME) == name)
            return true;
    return false;
}

struct side {
    const recording::contents *file;
    walker walk;
    event seen;
    bool is_there = false;

    void look() { is_there = next_outcome(walk, seen); }
    void look_at_last() {
        for (side ahead = *this; ahead.look(), ahead.is_there;)
            *this = ahead;
    }
};

bool is_same(const lane &of, const side &a, const side &b) {
    return a.is_there == b.is_there && (!a.is_there || is_same(of, a.seen, b.seen));
}

// ---- what is said of a difference

void put_visible(std::string_view text) {
    constexpr size_t LONGEST = 300;
    output::put_plain(text.substr(0, LONGEST));
    if (text.size() > LONGEST)
        output::put("...");
}

void put_line(const char *heading, const event &seen) {
    const size_t after_time = std::min(seen.line.find("\"kind\""), seen.line.size());
    output::print("  %s line %zu, ", heading, seen.number);
    put_visible(seen.values[recording::T]);
    output::put(" s: {");
    put_visible(seen.line.substr(after_time));
    output::put("\n");
}

// What the daemon was told last before the line NUMBER.
void put_inputs(const side &of, size_t number) {
    constexpr size_t SHOWN = 3;
    size_t count = 0;
    for (const bool is_counted : {false, true}) {
        size_t place = 0;
        cursor at(*of.file);
        event seen;
        while (recording::next(at, seen) && seen.number < number)
            if (at.is_live && is_input(seen) && ++place + SHOWN > count && is_counted)
                put_line("  after", seen);
        count = place;
    }
}

void put_side(const char *heading, const side &of) {
    if (of.is_there) {
        put_line(heading, of.seen);
        put_inputs(of, of.seen.number);
    } else {
        output::print("  %s nothing more\n", heading);
    }
}

void put_batch_lines(const event &a, const event &b) {
    std::string_view lines_a = lines_of(a);
    std::string_view lines_b = lines_of(b);
    while (!lines_a.empty() || !lines_b.empty()) {
        const std::string_view line_a = recording::take_element(lines_a);
        const std::string_view line_b = recording::take_element(lines_b);
        if (line_a == line_b && !line_a.empty())
            continue;
        output::put("    its first other line: A ");
        put_visible(line_a);
        output::put(", B ");
        put_visible(line_b);
        output::put("\n");
        return;
    }
}

void put_difference(const lane &of, const side &a, const side &b) {
    output::put("DIFFERENT ");
    const event &seen = (a.is_there ? a : b).seen;
    for (const std::string_view part : {seen.word(recording::KIND), of.first, of.second}) {
        put_visible(part);
        output::put(part.empty() ? "" : " ");
    }
    if (of.kind == recording::ITEM)
        put_visible(seen.word(recording::NAME));
    output::put("\n");
    put_side("A", a);
    put_side("B", b);
    if (of.kind == recording::BATCH && a.is_there && b.is_there)
        put_batch_lines(a.seen, b.seen);
}

// Goes along both sides to where they differ. Returns whether they do not, adding how much there is
// of the lane to COUNT.
bool compare_lane(const lane &of, side &a, side &b, size_t &count) {
    side last_a = a, last_b = b;
    do {
        a.look();
        b.look();
        count += a.is_there ? 1 : 0;
    } while (a.is_there && is_same(of, a, b));
    if (is_same(of, a, b))
        return true;
    const std::string_view name = (a.is_there ? a : b).seen.word(recording::NAME);
    if (of.kind != recording::ITEM || (!has_missed(*a.file, name) && !has_missed(*b.file, name)))
        return false;
    last_a.look_at_last();
    last_b.look_at_last();
    return is_same(of, last_a, last_b);
}

// Where the lanes differ, the earliest difference first: the others as a rule follow from it.
size_t put_differences(const recording::contents &file_a, const recording::contents &file_b,
                       size_t &count) {
    static std::array<size_t, lanes.size()> places; // the line in A; 0: none, or put already
    size_t different = 0;
    const auto compare = [&](size_t i, bool is_to_be_put) {
        side a{&file_a, {file_a, lanes[i]}, {}}, b{&file_b, {file_b, lanes[i]}, {}};
        places[i] = 0;
        if (compare_lane(lanes[i], a, b, count))
            return;
        if (is_to_be_put)
            return put_difference(lanes[i], a, b);
        places[i] = a.is_there ? a.seen.number : SIZE_MAX;
        different++;
    };
    for (size_t i = 0; i < lane_count; i++)
        compare(i, false);
    for (size_t put = 0; put < different; put++) {
        size_t first = 0;
        for (size_t i = 1; i < lane_count; i++)
            if (places[i] - 1 < places[first] - 1) // 0 becomes the last
                first = i;
        compare(first, true);
    }
    return different;
}

} // namespace

int compare_recordings(operands given) {
    recording::contents a, b;
    for (const auto &[path, file] : {std::pair{given[0], &a}, std::pair{given[1], &b}})
        if (const int status = recording::open(path, *file); status != cli::DONE)
            return status;
    if (!collect_lanes(a) || !collect_lanes(b))
        return cli::failure("more destinations and clients than a router has");
    size_t count = 0;
    const size_t different = put_differences(a, b, count);
    if (different == 0)
        output::print("the same: %zu outcomes in %zu lanes\n", count, lane_count);
    const int status = output::flush();
    return different > 0 ? cli::FAILED : status;
}
