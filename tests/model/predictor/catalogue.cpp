#include "tests/model/predictor/catalogue.h"

namespace model {

namespace {
constexpr bool kKept = false;
constexpr bool kReset = true;
}  // namespace

// clang-format off
const std::array<Row, 57> kCatalogue = {{
    {"rmem_max",                 "core/rmem_max",                 "2621440", 1, kKept},
    {"wmem_max",                 "core/wmem_max",                 "112640",  1, kKept},
    {"tcp_abort_on_overflow",    "ipv4/tcp_abort_on_overflow",    "0",       1, kKept},
    {"tcp_adv_win_scale",        "ipv4/tcp_adv_win_scale",        "2",       1, kKept},
    {"tcp_app_win",              "ipv4/tcp_app_win",              "31",      1, kKept},
    {"tcp_bic",                  "ipv4/tcp_bic",                  "1",       1, kKept},
    {"tcp_bic_fast_convergence", "ipv4/tcp_bic_fast_convergence", "1",       1, kKept},
    {"tcp_bic_low_window",       "ipv4/tcp_bic_low_window",       "14",      1, kKept},
    {"tcp_dsack",                "ipv4/tcp_dsack",                "1",       1, kKept},
    {"tcp_ecn",                  "ipv4/tcp_ecn",                  "0",       1, kReset},
    {"tcp_fack",                 "ipv4/tcp_fack",                 "1",       1, kKept},
    {"tcp_fin_timeout",          "ipv4/tcp_fin_timeout",          "60",      1, kReset},
    {"tcp_frto",                 "ipv4/tcp_frto",                 "0",       1, kKept},
    {"tcp_keepalive_intvl",      "ipv4/tcp_keepalive_intvl",      "75",      1, kReset},
    {"tcp_keepalive_probes",     "ipv4/tcp_keepalive_probes",     "9",       1, kReset},
    {"tcp_keepalive_time",       "ipv4/tcp_keepalive_time",       "7200",    1, kReset},
    {"tcp_low_latency",          "ipv4/tcp_low_latency",          "0",       1, kKept},
    {"tcp_max_orphans",          "ipv4/tcp_max_orphans",          "16384",   1, kKept},
    {"tcp_max_syn_backlog",      "ipv4/tcp_max_syn_backlog",      "1024",    1, kKept},
    {"tcp_max_tw_buckets",       "ipv4/tcp_max_tw_buckets",       "180000",  1, kKept},
    {"tcp_rto_min",              "ipv4/tcp_rto_min",              "200",     1, kKept},
    {"tcp_rto_max",              "ipv4/tcp_rto_max",              "120000",  1, kKept},
    {"tcp_mem_low",              "ipv4/tcp_mem",                  "49152",   3, kKept},
    {"tcp_mem_pressure",         "ipv4/tcp_mem",                  "65536",   0, kKept},
    {"tcp_mem_high",             "ipv4/tcp_mem",                  "98304",   0, kKept},
    {"tcp_moderate_rcvbuf",      "ipv4/tcp_moderate_rcvbuf",      "1",       1, kKept},
    {"tcp_no_metrics_save",      "ipv4/tcp_no_metrics_save",      "0",       1, kKept},
    {"tcp_orphan_retries",       "ipv4/tcp_orphan_retries",       "0",       1, kKept},
    {"tcp_reordering",           "ipv4/tcp_reordering",           "3",       1, kKept},
    {"tcp_retrans_collapse",     "ipv4/tcp_retrans_collapse",     "1",       1, kKept},
    {"tcp_retries1",             "ipv4/tcp_retries1",             "3",       1, kReset},
    {"tcp_retries2",             "ipv4/tcp_retries2",             "15",      1, kReset},
    {"tcp_rfc1337",              "ipv4/tcp_rfc1337",              "0",       1, kKept},
    {"tcp_rmem_min",             "ipv4/tcp_rmem",                 "4096",    3, kReset},
    {"tcp_rmem_default",         "ipv4/tcp_rmem",                 "87380",   0, kReset},
    {"tcp_rmem_max",             "ipv4/tcp_rmem",                 "174760",  0, kReset},
    {"tcp_sack",                 "ipv4/tcp_sack",                 "1",       1, kKept},
    {"tcp_stdurg",               "ipv4/tcp_stdurg",               "0",       1, kKept},
    {"tcp_synack_retries",       "ipv4/tcp_synack_retries",       "5",       1, kReset},
    {"tcp_syncookies",           "ipv4/tcp_syncookies",           "0",       1, kKept},
    {"tcp_syn_retries",          "ipv4/tcp_syn_retries",          "5",       1, kKept},
    {"tcp_timestamps",           "ipv4/tcp_timestamps",           "1",       1, kReset},
    {"tcp_tso_win_divisor",      "ipv4/tcp_tso_win_divisor",      "8",       1, kKept},
    {"tcp_tw_recycle",           "ipv4/tcp_tw_recycle",           "0",       1, kKept},
    {"tcp_tw_reuse",             "ipv4/tcp_tw_reuse",             "0",       1, kKept},
    {"tcp_vegas_alpha",          "ipv4/tcp_vegas_alpha",          "2",       1, kKept},
    {"tcp_vegas_beta",           "ipv4/tcp_vegas_beta",           "6",       1, kKept},
    {"tcp_vegas_cong_avoid",     "ipv4/tcp_vegas_cong_avoid",     "0",       1, kKept},
    {"tcp_vegas_gamma",          "ipv4/tcp_vegas_gamma",          "2",       1, kKept},
    {"tcp_westwood",             "ipv4/tcp_westwood",             "0",       1, kKept},
    {"tcp_window_scaling",       "ipv4/tcp_window_scaling",       "1",       1, kKept},
    {"tcp_wmem_min",             "ipv4/tcp_wmem",                 "4096",    3, kReset},
    {"tcp_wmem_default",         "ipv4/tcp_wmem",                 "16384",   0, kReset},
    {"tcp_wmem_max",             "ipv4/tcp_wmem",                 "131072",  0, kReset},
    {"tcp_ipfrag_time",          "ipv4/ipfrag_time",              "1",       1, kKept},
    {"tcp_port_min",             "ipv4/ip_local_port_range",      "4096",    2, kKept},
    {"tcp_port_max",             "ipv4/ip_local_port_range",      "4096",    0, kKept},
}};
// clang-format on

}  // namespace model
