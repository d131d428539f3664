// The values that fields of an operation can have. The pools are small, so that
// requests meet the streams of earlier ones, and hold the edges of every rule.
//
// A kept corpus names values by their place here: append, never reorder.
#pragma once

#include "bytes.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

namespace tspec::fuzz {

using model::Bytes;
using model::Mac;

inline constexpr std::array<Mac, 8> STATIONS = {{
    {0x02, 0, 0, 0, 0, 1},
    {0x02, 0, 0, 0, 0, 2},
    {0x02, 0, 0, 0, 0, 3},
    {0x02, 0, 0, 0, 0, 4},
    {0x02, 0, 0, 0, 0, 5},
    {0x02, 0, 0, 0, 0, 6},
    {0, 0, 0, 0, 0, 0},
    {0xff, 0xff, 0xff, 0xff, 0xff, 0xff},
}};

inline constexpr Mac FIRST_VAP_ADDRESS = {0x02, 0xaa, 0, 0, 0, 2};
inline constexpr Mac SECOND_VAP_ADDRESS = {0x02, 0xaa, 0, 0, 0, 3};

inline constexpr std::array<uint8_t, 16> HOSTAPD_COMMANDS = {1, 1, 1, 1, 3, 4, 6,  7,
                                                             8, 9, 9, 0, 2, 5, 10, 255};
inline constexpr std::array<uint8_t, 8> RADIO_UNITS = {1, 2, 1, 2, 1, 0, 3, 255};
inline constexpr std::array<uint8_t, 8> VAPS = {0, 0, 3, 15, 1, 16, 17, 255};
inline constexpr std::array<uint8_t, 16> TIDS = {0, 1, 2,  3,  4,  5,   6,   7,
                                                 8, 9, 12, 15, 16, 128, 254, 255};
inline constexpr std::array<uint8_t, 4> DIRECTIONS = {0, 1, 3, 2};
inline constexpr std::array<uint8_t, 8> PRIORITIES = {0, 1, 2, 3, 4, 5, 6, 7};
inline constexpr std::array<uint8_t, 2> FLAGS = {0, 1};
inline constexpr std::array<uint8_t, 4> FILLERS = {0, 0xff, 0xa5, 0x20};
inline constexpr std::array<uint16_t, 8> NOMINAL_SIZES = {0x80d0, 208,    1500, 1,
                                                          0x7fff, 0xffff, 0,    0x8000};
inline constexpr std::array<uint32_t, 16> MEAN_RATES = {
    83200,   0,        1,          7,          8,          9,          166400,   41600,
    1000000, 64000000, 0x1fffffff, 0xfffffff8, 0xfffffff9, 0xffffffff, 12345678, 832000};
inline constexpr std::array<uint16_t, 8> SURPLUSES = {0x2000, 0,      0x1000, 0x1fff,
                                                      0x2001, 0x3000, 0x4abc, 0xffff};
inline constexpr std::array<uint16_t, 16> MEDIUM_TIMES = {
    0, 1, 100, 312, 625, 1250, 3125, 7812, 15624, 15625, 15626, 31250, 32767, 32768, 40000, 65535};

inline constexpr std::array<uint8_t, 8> MAPD_COMMANDS = {2, 2, 5, 0, 1, 3, 7, 255};
inline constexpr std::array<uint8_t, 8> RESULTS = {0, 0, 1, 2, 3, 4, 128, 255};
inline constexpr std::array<uint8_t, 8> AC_INDEXES = {0, 1, 2, 3, 3, 2, 4, 255};

inline constexpr std::array<uint32_t, 4> SWITCHES = {1, 0, 0x100, 0xff};
inline constexpr std::array<uint32_t, 16> LIMITS = {
    50, 0, 1, 2, 4, 5, 10, 20, 100, 209, 210, 65535, 65536, 65566, 0xffffffff, 3};
inline constexpr std::array<uint32_t, 8> SHARES = {0, 1, 2, 5, 10, 100, 65535, 65537};
inline constexpr std::array<uint32_t, 8> TIMEOUTS = {0, 1, 5, 30, 4294, 4295, 0x10000, 0xffffffff};
inline constexpr std::array<uint32_t, 8> INTERVALS = {0, 1, 2, 5, 300, 299, 0x80000000, 0xffffffff};
inline constexpr std::array<uint8_t, 4> MANAGED_MODES = {1, 0, 2, 255};

inline constexpr std::array<std::string_view, 32> STATUS_REQUESTS = {
    "tspec-ap-stats",
    "tspec-radio-wlan0",
    "tspec-radio-wlan1",
    "tspec-vap-wlan0",
    "tspec-vap-wlan1vap3",
    "tspec-vap-wlan0vap15",
    "tspec-client-ts-first",
    "tspec-client-ts-next",
    "tspec-client-ts-next",
    "tspec-client-ts-next",
    "tspec-client-ts-first",
    "tspec-ap-stats ",
    "tspec-ap-stat",
    "tspec-radio-wlan2",
    "tspec-radio-wlan",
    "tspec-radio-wlanwlan1",
    "tspec-radio-wlan1-extra",
    "tspec-vap-wlan",
    "tspec-vap-wlan2vap1",
    "tspec-vap-wlan1vap16",
    "tspec-vap-wlan0vap-1",
    "tspec-vap-wlan0vap 7",
    "tspec-vap-wlan0vap+7",
    "tspec-vap-wlan1vapX",
    "tspec-vap-wlan0vap2147483647",
    "tspec-vap-wlan0vap-2147483647",
    "tspec-vap-wlan0vap00000000000000000015",
    "tspec-client-ts-firstly",
    "tspec-client-ts",
    "",
    "%s%n%x",
    "tspec-vap-wlan0vap3vap4",
};

inline constexpr std::array<uint8_t, 4> OTHER_COMMANDS = {0, 7, 64, 255};
inline constexpr std::array<uint8_t, 4> DISASSOC_MODES = {0, 1, 2, 255};

inline constexpr std::array<uint16_t, 32> LENGTHS = {
    0,  1,  2,  3,   4,   5,   7,   8,   9,   20,  21,  30,  57,  62,   63,   64,
    65, 72, 74, 112, 119, 120, 121, 128, 140, 147, 148, 149, 512, 1023, 1024, 1025};

inline constexpr std::array<uint8_t, 8> SECONDS = {1, 2, 3, 4, 5, 6, 7, 8};
inline constexpr std::array<int64_t, 8> CLOCK_STEPS = {1,  299,   300,        301,
                                                       -1, -5000, 0x7fffffff, -0x80000000LL};

inline constexpr std::array<std::string_view, 16> DRIVER_TEXTS = {
    "client_status=1\n",
    "client_status=0\n",
    "client_status=41\n",
    "client_status=40\n",
    "a=1\nclient_status=41\nlast=2\n",
    "client_status=1",
    "client_status=zz\nclient_status=1\n",
    "client_status=\n",
    "client_status=0x41\n",
    "client_status= +41 \n",
    "client_status=-1\n",
    "client_status=ffffffffffffffffff1\n",
    "",
    "\nclient_status=1\n",
    "client_status=100000041\n",
    "xclient_status=1\nCLIENT_STATUS=1\n",
};
inline constexpr std::array<int, 4> DRIVER_ERRORS = {EOPNOTSUPP, ENODEV, EIO, EPERM};

inline constexpr std::array<std::string_view, 16> PROC_TEXTS = {
    "channel_util 37\n",
    "a\nb\nchannel_util: 12\nc\n",
    "channel_util\n",
    "channel_util",
    "channel_util -3",
    "",
    "x",
    "channel_utilisation 9\nchannel_util 5\n",
    "channel_util 2147483647\n",
    "channel_util -2147483647\n",
    "channel_util   7 8\n",
    " channel_util 1\nchannel_util 2\n",
    "channel_util",
    "channel_util=\n",
    "CHANNEL_UTIL 4\n",
    "channel_util +6",
};

inline constexpr std::array<uint32_t, 16> DURATIONS = {
    400,   0,     1,          32,         100,        200,        800,  1000,
    10000, 50000, 0x10000000, 0x7fffffff, 0x80000000, 0xffffffff, 4000, 625};

inline constexpr std::array<int, 8> ERRORS = {EPERM,  ENOBUFS, ENETUNREACH, ECONNREFUSED,
                                              ENOMEM, EAGAIN,  EMFILE,      EADDRINUSE};
inline constexpr std::array<uint8_t, 4> CALLS_BEFORE = {0, 1, 2, 3};
inline constexpr std::array<uint8_t, 4> CALLS_FAILING = {1, 2, 4, 200};
inline constexpr std::array<int, 4> WAIT_ERRORS = {EINTR, EBADF, ENOMEM, EINVAL};
inline constexpr std::array<uint8_t, 8> REPEATS = {1, 2, 3, 7, 1, 2, 31, 254};

} // namespace tspec::fuzz
