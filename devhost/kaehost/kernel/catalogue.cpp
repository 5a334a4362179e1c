#include "devhost/kaehost/kernel/catalogue.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace devhost {
namespace {

using namespace std::string_view_literals;

constexpr CatalogueEntry kEntries[] = {
    {"rmem_max",                 "core/rmem_max",                 "2621440", 0, false},
    {"wmem_max",                 "core/wmem_max",                 "112640",  0, false},
    {"tcp_abort_on_overflow",    "ipv4/tcp_abort_on_overflow",    "0",       0, false},
    {"tcp_adv_win_scale",        "ipv4/tcp_adv_win_scale",        "2",       0, false},
    {"tcp_app_win",              "ipv4/tcp_app_win",              "31",      0, false},
    {"tcp_bic",                  "ipv4/tcp_bic",                  "1",       0, false},
    {"tcp_bic_fast_convergence", "ipv4/tcp_bic_fast_convergence", "1",       0, false},
    {"tcp_bic_low_window",       "ipv4/tcp_bic_low_window",       "14",      0, false},
    {"tcp_dsack",                "ipv4/tcp_dsack",                "1",       0, false},
    {"tcp_ecn",                  "ipv4/tcp_ecn",                  "0",       0, true },
    {"tcp_fack",                 "ipv4/tcp_fack",                 "1",       0, false},
    {"tcp_fin_timeout",          "ipv4/tcp_fin_timeout",          "60",      0, true },
    {"tcp_frto",                 "ipv4/tcp_frto",                 "0",       0, false},
    {"tcp_keepalive_intvl",      "ipv4/tcp_keepalive_intvl",      "75",      0, true },
    {"tcp_keepalive_probes",     "ipv4/tcp_keepalive_probes",     "9",       0, true },
    {"tcp_keepalive_time",       "ipv4/tcp_keepalive_time",       "7200",    0, true },
    {"tcp_low_latency",          "ipv4/tcp_low_latency",          "0",       0, false},
    {"tcp_max_orphans",          "ipv4/tcp_max_orphans",          "16384",   0, false},
    {"tcp_max_syn_backlog",      "ipv4/tcp_max_syn_backlog",      "1024",    0, false},
    {"tcp_max_tw_buckets",       "ipv4/tcp_max_tw_buckets",       "180000",  0, false},
    {"tcp_rto_min",              "ipv4/tcp_rto_min",              "200",     0, false},
    {"tcp_rto_max",              "ipv4/tcp_rto_max",              "120000",  0, false},
    {"tcp_mem_low",              "ipv4/tcp_mem",                  "49152",   0, false},
    {"tcp_mem_pressure",         "ipv4/tcp_mem",                  "65536",   1, false},
    {"tcp_mem_high",             "ipv4/tcp_mem",                  "98304",   2, false},
    {"tcp_moderate_rcvbuf",      "ipv4/tcp_moderate_rcvbuf",      "1",       0, false},
    {"tcp_no_metrics_save",      "ipv4/tcp_no_metrics_save",      "0",       0, false},
    {"tcp_orphan_retries",       "ipv4/tcp_orphan_retries",       "0",       0, false},
    {"tcp_reordering",           "ipv4/tcp_reordering",           "3",       0, false},
    {"tcp_retrans_collapse",     "ipv4/tcp_retrans_collapse",     "1",       0, false},
    {"tcp_retries1",             "ipv4/tcp_retries1",             "3",       0, true },
    {"tcp_retries2",             "ipv4/tcp_retries2",             "15",      0, true },
    {"tcp_rfc1337",              "ipv4/tcp_rfc1337",              "0",       0, false},
    {"tcp_rmem_min",             "ipv4/tcp_rmem",                 "4096",    0, true },
    {"tcp_rmem_default",         "ipv4/tcp_rmem",                 "87380",   1, true },
    {"tcp_rmem_max",             "ipv4/tcp_rmem",                 "174760",  2, true },
    {"tcp_sack",                 "ipv4/tcp_sack",                 "1",       0, false},
    {"tcp_stdurg",               "ipv4/tcp_stdurg",               "0",       0, false},
    {"tcp_synack_retries",       "ipv4/tcp_synack_retries",       "5",       0, true },
    {"tcp_syncookies",           "ipv4/tcp_syncookies",           "0",       0, false},
    {"tcp_syn_retries",          "ipv4/tcp_syn_retries",          "5",       0, false},
    {"tcp_timestamps",           "ipv4/tcp_timestamps",           "1",       0, true },
    {"tcp_tso_win_divisor",      "ipv4/tcp_tso_win_divisor",      "8",       0, false},
    {"tcp_tw_recycle",           "ipv4/tcp_tw_recycle",           "0",       0, false},
    {"tcp_tw_reuse",             "ipv4/tcp_tw_reuse",             "0",       0, false},
    {"tcp_vegas_alpha",          "ipv4/tcp_vegas_alpha",          "2",       0, false},
    {"tcp_vegas_beta",           "ipv4/tcp_vegas_beta",           "6",       0, false},
    {"tcp_vegas_cong_avoid",     "ipv4/tcp_vegas_cong_avoid",     "0",       0, false},
    {"tcp_vegas_gamma",          "ipv4/tcp_vegas_gamma",          "2",       0, false},
    {"tcp_westwood",             "ipv4/tcp_westwood",             "0",       0, false},
    {"tcp_window_scaling",       "ipv4/tcp_window_scaling",       "1",       0, false},
    {"tcp_wmem_min",             "ipv4/tcp_wmem",                 "4096",    0, true },
    {"tcp_wmem_default",         "ipv4/tcp_wmem",                 "16384",   1, true },
    {"tcp_wmem_max",             "ipv4/tcp_wmem",                 "131072",  2, true },
    {"tcp_ipfrag_time",          "ipv4/ipfrag_time",              "1",       0, false},
    {"tcp_port_min",             "ipv4/ip_local_port_range",      "4096",    0, false},
    {"tcp_port_max",             "ipv4/ip_local_port_range",      "4096",    1, false},
};

}  // namespace

std::span<const CatalogueEntry> Catalogue() { return kEntries; }

const CatalogueEntry* FindInCatalogue(std::string_view element) {
  const auto* found =
      std::find_if(std::begin(kEntries), std::end(kEntries),
                   [element](const CatalogueEntry& entry) { return entry.element == element; });
  return found != std::end(kEntries) ? found : nullptr;
}

std::string AboutNumber(const CatalogueEntry& entry, bool is_negative,
                        unsigned long long magnitude) {
  const bool may_be_negative = entry.element == "tcp_adv_win_scale"sv;
  if (is_negative && !may_be_negative) {
    return "is negative; write 0 or more";
  }
  // Kernels keep pages of memory in an unsigned long, all else in an int or less.
  constexpr unsigned long long kIntMax = std::numeric_limits<int>::max();
  const bool is_long = entry.file == "ipv4/tcp_mem"sv;
  if (!is_negative && !is_long && magnitude > kIntMax) {
    return "is more than any kernel accepts; write a number up to " + std::to_string(kIntMax);
  }
  if (is_negative && magnitude > kIntMax + 1) {
    return "is less than any kernel accepts; write -" + std::to_string(kIntMax + 1) + " or more";
  }
  return "";
}

}  // namespace devhost
