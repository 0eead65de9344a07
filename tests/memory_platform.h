// The platform contract in memory. What the daemon reads is set in maps; what it does is recorded,
// in order, one line of text a call:
//
//   set MOBILE_IP '1.1.1.1' 8    an item, its value, the length given
//   send WAN_LINK_BROKEN -> linkprobe    broadcast WAN_SETUP_COMPLETED from uplinkd
//   register uplinkd    flag NAME=VALUE    identity NAME    backup REASON    reboot REASON
//   root COMMAND        through system_by_root              shell COMMAND    through system
//   log 0 FUNCTION: TEXT   the line number left out, newlines written \n and tabs \t
//   sleep 3    mac of INTERFACE
//
// Items, messages and applications have the names that the file "names" in the working directory
// gives their numbers; the items of wired WAN 2 end in _2. The file does not follow the daemon's
// headers: the numbers are those of the router's other programs.
//
// The C library's system() and sleep() belong to it as well: nothing is run, nobody waits. Any
// thread may call the platform; a test that shares the maps with a thread of the daemon changes
// them only while that thread stands still.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/bus.h"

namespace memory {

extern std::map<std::string, std::string> settings, items, flags;
extern std::map<std::string, std::string> interfaces; // what each itself reports, ADDRESS/NETMASK
extern int bus_result;                                // of registering and of every send
extern uplinkd_msg_t carried;                         // the record sent last

extern std::string last_log; // the line logged last, with its line number

// Called after a call was recorded, on the caller's thread.
extern std::function<void(const std::string &line)> on_call;
// Called instead of recording a sleep.
extern std::function<void(unsigned seconds)> on_sleep;

// The number of an item, a message or an application; of a number, itself. Throws for another name.
int number_of(const std::string &name);

// Sets what the words of TEXT name: MOBILE_NETSTATUS=1 an item, USR_WAN_MODE=1 a setting,
// @eth1=10.0.0.1/255.0.0.0 an interface's own address. A ~ stands for a blank.
void given(const std::string &text);

// Adds LINE to the record.
void note(const std::string &line);

// The calls since the last take, a newline before each; of the log lines only those up to LEVEL
// (-1: none).
std::string take(int level);

} // namespace memory
