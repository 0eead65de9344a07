// The platform contract in memory. What the daemon reads is set in maps; what it does is recorded,
// in order, one line of text a call:
//
//   set 201101 '1' 2       an item, its value, the length given     flag NAME=VALUE
//   send 0x5202 -> 23      broadcast 0x5304 from 24                 register 24
//   root COMMAND           through system_by_root                   shell COMMAND   through system
//   log 0 FUNCTION: TEXT   the line number left out, newlines written \n
//   sleep 3                identity NAME   backup REASON   reboot REASON   mac of INTERFACE
//
// The C library's system() and sleep() belong to it as well: nothing is run, nobody waits. Any
// thread may call the platform; a test that shares the maps with a thread of the daemon changes
// them only while that thread stands still.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/bus.h"

namespace memory {

struct ipv4_network {
    std::string address, netmask;
};
extern std::map<std::string, std::string> settings, flags;
extern std::map<int, std::string> items;
extern std::map<std::string, ipv4_network> interfaces; // what an interface itself reports
extern int bus_result;                                 // of registering and of every send
extern uplinkd_msg_t carried;                          // the record sent last

extern std::string last_log; // the line logged last, with its line number

// Called after a call was recorded, on the caller's thread.
extern std::function<void(const std::string &line)> on_call;
// Called instead of recording a sleep.
extern std::function<void(unsigned seconds)> on_sleep;

// Sets what the words of TEXT name: 201101=1 an item, @eth1=10.0.0.1/255.0.0.0 an interface's own
// address, anything else a setting. A ~ stands for a blank.
void given(const std::string &text);

// Adds LINE to the record.
void note(const std::string &line);

// The calls since the last take; of the log lines only those up to LEVEL (-1: none).
std::vector<std::string> take(int level);

} // namespace memory
