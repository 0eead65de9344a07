// The notice timer in Promela: tests/search_model tries every order in which a handler and the
// timer's thread can take the steps of notice_timer.cpp, however often and whenever the handler
// arms. A step is called as the function that it stands for; the macros are the properties' own.
//
// The world may change between any two looks at it, so every read of a store has any outcome. One
// process plays all timer threads, one after the other; a second one at a time is an error. The
// delay stays as it is: one that somebody changes during a check may count for an arming in that
// moment as it was before.
//
// plain: is_mix_mode is_one to_int c_str holds pthread_detach pthread_self
// plain: UPLINKD_DEBUG UPLINKD_LOG UPLINKD_TRACE

#define DELAY 2

bool held; // uplinkd_notice_mutex, by this process:
byte holder;
byte uplinkd_notice_countdown;
bool thread_running;

byte threads;
bool awaited;      // an arming whose countdown has not run out
byte counted;      // seconds since then
bool announceable; // a countdown has run out that no notice was sent for
bool quiet;        // no handler will arm any more

#define NOT_HELD assert(!held || holder != _pid)
#define RELEASE  assert(thread_running || uplinkd_notice_countdown == 0); held = false
#define ARMED    d_step { awaited = true; counted = 0 }
#define COUNTED                                                    \
    d_step {                                                       \
        if :: awaited && counted < DELAY -> counted++ :: else fi;  \
        if                                                         \
        :: awaited && left == 0 ->                                 \
            assert(counted == DELAY);                              \
            awaited = false;                                       \
            announceable = true                                    \
        :: else                                                    \
        fi                                                         \
    }
#define ENDED d_step { assert(!awaited); threads--; announceable = false }
#define ANNOUNCED d_step { assert(announceable); announceable = false }

inline mutex_guard() { atomic { !held -> held = true; holder = _pid } }
inline sleep() { NOT_HELD }
inline uplinkd_send_msg() { NOT_HELD }
inline get_CFG_int(value) { NOT_HELD; if :: value = true :: value = false fi }
inline item_text(value) { NOT_HELD; if :: value = true :: value = false fi }

inline pthread_create(failed) { if :: threads++; assert(threads == 1) :: failed = true fi }

inline delay_seconds() { get_CFG_int(_) }

inline uplinkd_notice_timer_arm() {
    failed = false;
    delay_seconds();
    mutex_guard();
    uplinkd_notice_countdown = DELAY;
    if
    :: thread_running -> ARMED
    :: else ->
        pthread_create(failed);
        if
        :: failed -> uplinkd_notice_countdown = 0
        :: else -> thread_running = true; ARMED
        fi
    fi;
    RELEASE
}

inline count_one_second() {
    mutex_guard();
    left = uplinkd_notice_countdown; // reading and writing are two steps
    left = (left > 0 -> left - 1 : 0);
    uplinkd_notice_countdown = left;
    COUNTED;
    RELEASE
}

inline restart_countdown() { mutex_guard(); uplinkd_notice_countdown = DELAY; RELEASE }

inline end_unless_armed() {
    mutex_guard();
    if
    :: uplinkd_notice_countdown > 0 -> ended = false
    :: else -> thread_running = false; ENDED; ended = true
    fi;
    RELEASE
}

active proctype timer4uis_inform() {
    bool mobile_unseen, mobile_is_up, mobile_has_priority, mix_mode, wan_first, finished, ended;
    byte left;
end:
    threads > 0;
    mobile_unseen = true;
    do
    :: do
       :: sleep();
          count_one_second();
          if :: left > 0 :: else -> break fi
       od;
       item_text(mobile_is_up);
       if :: mobile_is_up -> mobile_unseen = false :: else fi;
       item_text(mobile_has_priority);
       get_CFG_int(mix_mode);
       get_CFG_int(wan_first);
       delay_seconds();
       finished = true;
       if
       :: !mix_mode
       :: mix_mode && !(mobile_has_priority && wan_first) -> finished = !mobile_unseen
       :: mix_mode && mobile_has_priority && wan_first && mobile_unseen ->
           restart_countdown();
           finished = false
       :: mix_mode && mobile_has_priority && wan_first && !mobile_unseen ->
           uplinkd_send_msg();
           ANNOUNCED;
           uplinkd_send_msg()
       fi;
       if
       :: finished ->
           end_unless_armed();
           if :: ended -> goto end :: else fi;
           mobile_unseen = true
       :: else
       fi
    od
}

active proctype handler() {
    bool failed;
    do :: uplinkd_notice_timer_arm() :: break od;
    quiet = true
}

ltl no_arming_is_lost { [] (awaited && quiet -> <> !awaited) }
