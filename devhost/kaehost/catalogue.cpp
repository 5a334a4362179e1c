#include "devhost/kaehost/catalogue.h"

#include <algorithm>
#include <iterator>

namespace devhost {
namespace {

constexpr CatalogueEntry kEntries[] = {
    {"rmem_max",                 "core/rmem_max",                 0, "2621440", false},
    {"wmem_max",                 "core/wmem_max",                 0, "112640",  false},
    {"tcp_abort_on_overflow",    "ipv4/tcp_abort_on_overflow",    0, "0",       false},
    {"tcp_adv_win_scale",        "ipv4/tcp_adv_win_scale",        0, "2",       false},
    {"tcp_app_win",              "ipv4/tcp_app_win",              0, "31",      false},
    {"tcp_bic",                  "ipv4/tcp_bic",                  0, "1",       false},
    {"tcp_bic_fast_convergence", "ipv4/tcp_bic_fast_convergence", 0, "1",       false},
    {"tcp_bic_low_window",       "ipv4/tcp_bic_low_window",       0, "14",      false},
    {"tcp_dsack",                "ipv4/tcp_dsack",                0, "1",       false},
    {"tcp_ecn",                  "ipv4/tcp_ecn",                  0, "0",       true },
    {"tcp_fack",                 "ipv4/tcp_fack",                 0, "1",       false},
    {"tcp_fin_timeout",          "ipv4/tcp_fin_timeout",          0, "60",      true },
    {"tcp_frto",                 "ipv4/tcp_frto",                 0, "0",       false},
    {"tcp_keepalive_intvl",      "ipv4/tcp_keepalive_intvl",      0, "75",      true },
    {"tcp_keepalive_probes",     "ipv4/tcp_keepalive_probes",     0, "9",       true },
    {"tcp_keepalive_time",       "ipv4/tcp_keepalive_time",       0, "7200",    true },
    {"tcp_low_latency",          "ipv4/tcp_low_latency",          0, "0",       false},
    {"tcp_max_orphans",          "ipv4/tcp_max_orphans",          0, "16384",   false},
    {"tcp_max_syn_backlog",      "ipv4/tcp_max_syn_backlog",      0, "1024",    false},
    {"tcp_max_tw_buckets",       "ipv4/tcp_max_tw_buckets",       0, "180000",  false},
    {"tcp_rto_min",              "ipv4/tcp_rto_min",              0, "200",     false},
    {"tcp_rto_max",              "ipv4/tcp_rto_max",              0, "120000",  false},
    {"tcp_mem_low",              "ipv4/tcp_mem",                  0, "49152",   false},
    {"tcp_mem_pressure",         "ipv4/tcp_mem",                  1, "65536",   false},
    {"tcp_mem_high",             "ipv4/tcp_mem",                  2, "98304",   false},
    {"tcp_moderate_rcvbuf",      "ipv4/tcp_moderate_rcvbuf",      0, "1",       false},
    {"tcp_no_metrics_save",      "ipv4/tcp_no_metrics_save",      0, "0",       false},
    {"tcp_orphan_retries",       "ipv4/tcp_orphan_retries",       0, "0",       false},
    {"tcp_reordering",           "ipv4/tcp_reordering",           0, "3",       false},
    {"tcp_retrans_collapse",     "ipv4/tcp_retrans_collapse",     0, "1",       false},
    {"tcp_retries1",             "ipv4/tcp_retries1",             0, "3",       true },
    {"tcp_retries2",             "ipv4/tcp_retries2",             0, "15",      true },
    {"tcp_rfc1337",              "ipv4/tcp_rfc1337",              0, "0",       false},
    {"tcp_rmem_min",             "ipv4/tcp_rmem",                 0, "4096",    true },
    {"tcp_rmem_default",         "ipv4/tcp_rmem",                 1, "87380",   true },
    {"tcp_rmem_max",             "ipv4/tcp_rmem",                 2, "174760",  true },
    {"tcp_sack",                 "ipv4/tcp_sack",                 0, "1",       false},
    {"tcp_stdurg",               "ipv4/tcp_stdurg",               0, "0",       false},
    {"tcp_synack_retries",       "ipv4/tcp_synack_retries",       0, "5",       true },
    {"tcp_syncookies",           "ipv4/tcp_syncookies",           0, "0",       false},
    {"tcp_syn_retries",          "ipv4/tcp_syn_retries",          0, "5",       false},
    {"tcp_timestamps",           "ipv4/tcp_timestamps",           0, "1",       true },
    {"tcp_tso_win_divisor",      "ipv4/tcp_tso_win_divisor",      0, "8",       false},
    {"tcp_tw_recycle",           "ipv4/tcp_tw_recycle",           0, "0",       false},
    {"tcp_tw_reuse",             "ipv4/tcp_tw_reuse",             0, "0",       false},
    {"tcp_vegas_alpha",          "ipv4/tcp_vegas_alpha",          0, "2",       false},
    {"tcp_vegas_beta",           "ipv4/tcp_vegas_beta",           0, "6",       false},
    {"tcp_vegas_cong_avoid",     "ipv4/tcp_vegas_cong_avoid",     0, "0",       false},
    {"tcp_vegas_gamma",          "ipv4/tcp_vegas_gamma",          0, "2",       false},
    {"tcp_westwood",             "ipv4/tcp_westwood",             0, "0",       false},
    {"tcp_window_scaling",       "ipv4/tcp_window_scaling",       0, "1",       false},
    {"tcp_wmem_min",             "ipv4/tcp_wmem",                 0, "4096",    true },
    {"tcp_wmem_default",         "ipv4/tcp_wmem",                 1, "16384",   true },
    {"tcp_wmem_max",             "ipv4/tcp_wmem",                 2, "131072",  true },
    {"tcp_ipfrag_time",          "ipv4/ipfrag_time",              0, "1",       false},
    {"tcp_port_min",             "ipv4/ip_local_port_range",      0, "4096",    false},
    {"tcp_port_max",             "ipv4/ip_local_port_range",      1, "4096",    false},
};

}  // namespace

std::span<const CatalogueEntry> Catalogue() { return kEntries; }

const CatalogueEntry* FindInCatalogue(std::string_view element) {
  const auto* found =
      std::find_if(std::begin(kEntries), std::end(kEntries),
                   [element](const CatalogueEntry& entry) { return entry.element == element; });
  return found != std::end(kEntries) ? found : nullptr;
}

}  // namespace devhost
