// The bus in Promela, from senders to handler: tests/search_model tries every order in which
// senders, reader and delivery thread can take the steps of bus.cpp. A step is called as the
// function that it stands for; the macros are the properties' own.
//
// Senders stop at any moment, a handler may never return. Two records are marked, whichever two:
// both have to be delivered, once and in their order, so that none can be lost, repeated or
// overtaken. When it is nobody's turn any more, nothing may be left on the way, unless a handler is
// stuck. A wait that ends without a signal could make up for a missing one, so such waits are tried
// apart.
//
// plain: endpoint_address generic app_id_of sender_of start_thread
// plain: is_owned claim map_inbox register_application init_sockmsg get_app_name_by_id
// plain: stuck_index size socket sockmsg_send_broadcast_msg
// plain: sysconf savelog connect poll

#define INBOX_SLOTS   3
#define QUIET_RECORDS 1
#define SOCKET_QUEUE  1
#define PATIENCE      1
#define NO_RECORD     3 // 0: an ordinary one; 1, 2: the marked ones

mtype = { nobody, waiting, signalled };
typedef inbox_t {
    bool held;
    mtype arrived = nobody, freed = nobody;
    byte first, count, slots[INBOX_SLOTS] = NO_RECORD;
    bool swollen
};
inbox_t inbox;
typedef stuck_t { bool held; byte count };
stuck_t stuck;
chan endpoint = [SOCKET_QUEUE] of { byte };

byte sent, delivered; // of the marked ones
bool done, handler_is_stuck, spurious_waits;

#define RELEASE(lock) lock = false
#define GONE          inbox.slots[slot] = NO_RECORD // only fewer states for it
#define PUT           nfull(endpoint) -> MARK; endpoint!mark; mark = 0
#define MARK          if :: sent < 2 -> sent++; mark = sent :: mark = 0 fi

inline mutex_guard(lock) { atomic { !lock -> lock = true } }
inline wait(condition) {
    atomic { condition = waiting; inbox.held = false }
end_wait:
    atomic {
        !inbox.held && (condition == signalled || spurious_waits) ->
        condition = nobody;
        inbox.held = true
    }
}
inline signal(condition) {
    d_step { if :: condition == waiting -> condition = signalled :: else fi }
}

inline keep_record() {
    mutex_guard(inbox.held);
    do :: inbox.count == INBOX_SLOTS -> wait(inbox.freed) :: else -> break od;
    slot = (inbox.first + inbox.count) % INBOX_SLOTS;
    inbox.count++;
    inbox.slots[slot] = record;
    inbox.swollen = inbox.swollen || slot >= QUIET_RECORDS;
    signal(inbox.arrived);
    slot = 0;
    RELEASE(inbox.held)
}

inline wait_for_record() {
    mutex_guard(inbox.held);
    do :: inbox.count == 0 -> wait(inbox.arrived) :: else -> break od;
    slot = inbox.first;
    RELEASE(inbox.held)
}

inline madvise() {
    d_step {
        slot = QUIET_RECORDS;
        do
        :: slot < INBOX_SLOTS -> inbox.slots[slot] = NO_RECORD; slot++
        :: else -> break
        od
    }
}

inline shrink_inbox() { madvise(); inbox.swollen = false }

inline release_record() {
    mutex_guard(inbox.held);
    GONE;
    inbox.count--;
    inbox.first = (inbox.count == 0 -> 0 : (inbox.first + 1) % INBOX_SLOTS);
    if :: inbox.count == 0 && inbox.swollen -> shrink_inbox() :: else fi;
    signal(inbox.freed);
    slot = 0;
    RELEASE(inbox.held)
}

inline recvfrom() {
    record = NO_RECORD;
end_recvfrom:
    endpoint?record
}

inline receive() { recvfrom(); valid = (record != NO_RECORD) }

inline receive_handler() {
    d_step {
        record = inbox.slots[slot];
        assert(record == 0 || record == delivered + 1 && record != NO_RECORD);
        delivered = (record > 0 -> record : delivered)
    }
    if
    :: handler_is_stuck = true;
end_stuck:
       false
    :: assert(inbox.slots[slot] == record); record = NO_RECORD
    fi
}

inline sendto() {
    atomic {
        tries++;
        assert(tries <= 1 + PATIENCE);
        if
        :: PUT; taken = true
        :: full(endpoint) -> taken = false
        fi
    }
}

inline deserves_patience() {
    atomic { mutex_guard(stuck.held); patient = (stuck.count == 0); RELEASE(stuck.held) }
}
inline note_stuck() {
    atomic {
        mutex_guard(stuck.held);
        if :: stuck.count == 0 -> stuck.count++ :: else fi;
        RELEASE(stuck.held)
    }
}
inline forget_stuck() {
    atomic {
        mutex_guard(stuck.held);
        if :: stuck.count > 0 -> stuck.count-- :: else fi;
        RELEASE(stuck.held)
    }
}

inline send_at_once() {
    sendto();
    if :: taken -> forget_stuck() :: else fi
}

// There may be room at its end or not.
inline wait_for_room() { skip }

inline send_patiently() {
    do
    :: if :: patience > 0 -> wait_for_room(); patience-- :: else fi;
       send_at_once();
       if :: !taken && patience > 0 :: else -> break fi
    od;
    if :: !taken -> note_stuck() :: else fi
}

inline sockmsg_send_common_msg() {
    send_at_once();
    if :: !taken -> deserves_patience() :: else fi;
    if :: patient -> patience = PATIENCE; send_patiently() :: else fi;
    d_step { tries = 0; patience = 0; taken = false; patient = false }
}

active proctype sender() {
    bool taken, patient;
    byte tries, patience, mark;
    do :: sockmsg_send_common_msg() :: break od;
    done = true
}

// Another program, which does not wait, and sends what is no record, too.
active proctype stranger() {
    byte mark;
    do
    :: atomic { PUT }
    :: atomic { nfull(endpoint) -> endpoint!NO_RECORD }
    :: break
    od
}

active proctype read_records() {
    byte record, slot;
    bool valid;
    do
    :: receive();
       if :: valid -> keep_record(); valid = false :: else fi
    od
}

active proctype deliver_records() {
    byte record, slot;
    do :: wait_for_record(); receive_handler(); release_record() od
}

active proctype world() {
    if :: spurious_waits = true :: skip fi;
    timeout;
    assert(done && (handler_is_stuck || delivered == sent && empty(endpoint)));
    assert(handler_is_stuck || inbox.count == 0 && !inbox.swollen)
}
