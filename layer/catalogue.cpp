// The catalogue of settings, and the life of a layer from construction to destruction.

#include "layer/kaTCPLayer.h"

#include <iterator>

#include "host/kaml.h"
#include "settings/CTCPCoreSetting.h"
#include "settings/CTCPSetting.h"
#include "settings/CTCPSettingContainer.h"

namespace {

// A container stands for the first value of its file; the child rows right after it are the further
// values, in the file's order.
enum Kind : char { kCore, kPlain, kContainer, kChild };

// What the value of a new layer's setting is: the kernel's own or the default.
enum Start : char { kFromKernel, kFromDefault };

struct Row {
  // The texts themselves and not pointers to them. The address of a name is its setting's key, so
  // the names have to lie in memory in the order of the rows. As literals of their own, a compiler
  // would lay them out as it pleases, and children would be visited before their containers. And
  // each pointer would cost the loader a relocation.
  char name[25];
  Kind kind;
  char file[25];
  char default_value[8];
  Start start;
};

constexpr Row kCatalogue[] = {
    {"rmem_max",                 kCore,      "rmem_max",                 "2621440", kFromKernel },
    {"wmem_max",                 kCore,      "wmem_max",                 "112640",  kFromKernel },
    {"tcp_abort_on_overflow",    kPlain,     "tcp_abort_on_overflow",    "0",       kFromKernel },
    {"tcp_adv_win_scale",        kPlain,     "tcp_adv_win_scale",        "2",       kFromKernel },
    {"tcp_app_win",              kPlain,     "tcp_app_win",              "31",      kFromKernel },
    {"tcp_bic",                  kPlain,     "tcp_bic",                  "1",       kFromKernel },
    {"tcp_bic_fast_convergence", kPlain,     "tcp_bic_fast_convergence", "1",       kFromKernel },
    {"tcp_bic_low_window",       kPlain,     "tcp_bic_low_window",       "14",      kFromKernel },
    {"tcp_dsack",                kPlain,     "tcp_dsack",                "1",       kFromKernel },
    {"tcp_ecn",                  kPlain,     "tcp_ecn",                  "0",       kFromDefault},
    {"tcp_fack",                 kPlain,     "tcp_fack",                 "1",       kFromKernel },
    {"tcp_fin_timeout",          kPlain,     "tcp_fin_timeout",          "60",      kFromDefault},
    {"tcp_frto",                 kPlain,     "tcp_frto",                 "0",       kFromKernel },
    {"tcp_keepalive_intvl",      kPlain,     "tcp_keepalive_intvl",      "75",      kFromDefault},
    {"tcp_keepalive_probes",     kPlain,     "tcp_keepalive_probes",     "9",       kFromDefault},
    {"tcp_keepalive_time",       kPlain,     "tcp_keepalive_time",       "7200",    kFromDefault},
    {"tcp_low_latency",          kPlain,     "tcp_low_latency",          "0",       kFromKernel },
    {"tcp_max_orphans",          kPlain,     "tcp_max_orphans",          "16384",   kFromKernel },
    {"tcp_max_syn_backlog",      kPlain,     "tcp_max_syn_backlog",      "1024",    kFromKernel },
    {"tcp_max_tw_buckets",       kPlain,     "tcp_max_tw_buckets",       "180000",  kFromKernel },
    {"tcp_rto_min",              kPlain,     "tcp_rto_min",              "200",     kFromKernel },
    {"tcp_rto_max",              kPlain,     "tcp_rto_max",              "120000",  kFromKernel },
    {"tcp_mem_low",              kContainer, "tcp_mem",                  "49152",   kFromKernel },
    {"tcp_mem_pressure",         kChild,     "tcp_mem",                  "65536",   kFromKernel },
    {"tcp_mem_high",             kChild,     "tcp_mem",                  "98304",   kFromKernel },
    {"tcp_moderate_rcvbuf",      kPlain,     "tcp_moderate_rcvbuf",      "1",       kFromKernel },
    {"tcp_no_metrics_save",      kPlain,     "tcp_no_metrics_save",      "0",       kFromKernel },
    {"tcp_orphan_retries",       kPlain,     "tcp_orphan_retries",       "0",       kFromKernel },
    {"tcp_reordering",           kPlain,     "tcp_reordering",           "3",       kFromKernel },
    {"tcp_retrans_collapse",     kPlain,     "tcp_retrans_collapse",     "1",       kFromKernel },
    {"tcp_retries1",             kPlain,     "tcp_retries1",             "3",       kFromDefault},
    {"tcp_retries2",             kPlain,     "tcp_retries2",             "15",      kFromDefault},
    {"tcp_rfc1337",              kPlain,     "tcp_rfc1337",              "0",       kFromKernel },
    {"tcp_rmem_min",             kContainer, "tcp_rmem",                 "4096",    kFromDefault},
    {"tcp_rmem_default",         kChild,     "tcp_rmem",                 "87380",   kFromDefault},
    {"tcp_rmem_max",             kChild,     "tcp_rmem",                 "174760",  kFromDefault},
    {"tcp_sack",                 kPlain,     "tcp_sack",                 "1",       kFromKernel },
    {"tcp_stdurg",               kPlain,     "tcp_stdurg",               "0",       kFromKernel },
    {"tcp_synack_retries",       kPlain,     "tcp_synack_retries",       "5",       kFromDefault},
    {"tcp_syncookies",           kPlain,     "tcp_syncookies",           "0",       kFromKernel },
    {"tcp_syn_retries",          kPlain,     "tcp_syn_retries",          "5",       kFromKernel },
    {"tcp_timestamps",           kPlain,     "tcp_timestamps",           "1",       kFromDefault},
    {"tcp_tso_win_divisor",      kPlain,     "tcp_tso_win_divisor",      "8",       kFromKernel },
    {"tcp_tw_recycle",           kPlain,     "tcp_tw_recycle",           "0",       kFromKernel },
    {"tcp_tw_reuse",             kPlain,     "tcp_tw_reuse",             "0",       kFromKernel },
    {"tcp_vegas_alpha",          kPlain,     "tcp_vegas_alpha",          "2",       kFromKernel },
    {"tcp_vegas_beta",           kPlain,     "tcp_vegas_beta",           "6",       kFromKernel },
    {"tcp_vegas_cong_avoid",     kPlain,     "tcp_vegas_cong_avoid",     "0",       kFromKernel },
    {"tcp_vegas_gamma",          kPlain,     "tcp_vegas_gamma",          "2",       kFromKernel },
    {"tcp_westwood",             kPlain,     "tcp_westwood",             "0",       kFromKernel },
    {"tcp_window_scaling",       kPlain,     "tcp_window_scaling",       "1",       kFromKernel },
    {"tcp_wmem_min",             kContainer, "tcp_wmem",                 "4096",    kFromDefault},
    {"tcp_wmem_default",         kChild,     "tcp_wmem",                 "16384",   kFromDefault},
    {"tcp_wmem_max",             kChild,     "tcp_wmem",                 "131072",  kFromDefault},
    {"tcp_ipfrag_time",          kPlain,     "ipfrag_time",              "1",       kFromKernel },
    {"tcp_port_min",             kContainer, "ip_local_port_range",      "4096",    kFromKernel },
    {"tcp_port_max",             kChild,     "ip_local_port_range",      "4096",    kFromKernel },
};

template <class Setting>
Setting* Create(const Row& row, const CTCPSetting* parent) {
  return new Setting(row.name, row.default_value, row.file, kaml_intern(row.name), parent);
}

}  // namespace

// Settings that exist when an exception passes are not deleted: the constructor ends as a failed
// one, with only the map's own storage released. That is intended; add no clean-up.
kaTCPLayer::kaTCPLayer() : root_element_name_(kaml_intern("tcp-settings")) {
  for (const Row* row = std::begin(kCatalogue); row != std::end(kCatalogue);) {
    const Row* next = row + 1;
    if (row->kind == kContainer) {
      auto* container = new CTCPSettingContainer(row->name, row->default_value, row->file,
                                                 kaml_intern(row->name));
      settings_[row->name] = container;
      for (; next != std::end(kCatalogue) && next->kind == kChild; ++next) {
        settings_[next->name] = Create<CTCPSetting>(*next, container);
      }
      for (const Row* child = row + 1; child != next; ++child) {
        container->AddChild(settings_[child->name]);
      }
    } else if (row->kind == kCore) {
      settings_[row->name] = Create<CTCPCoreSetting>(*row, nullptr);
    } else {
      settings_[row->name] = Create<CTCPSetting>(*row, nullptr);
    }
    row = next;
  }
  GetPreviousSettings();
  SetToPrevious();
  SetDefaults();
}

kaTCPLayer::~kaTCPLayer() {
  for (const auto& [name, setting] : settings_) {
    delete setting;
  }
}

void kaTCPLayer::SetDefaults() {
  for (const Row& row : kCatalogue) {
    if (row.start == kFromDefault) {
      settings_[row.name]->SetDefault();
    }
  }
}
