#pragma once

#include <map>
#include <string>

// Complete stories.
namespace model {

// clang-format off
// A new layer whose files are all missing.
inline const std::string kBirthWithoutFiles = R"(
reading previous config...
error opening stream for read -  file [/proc/sys/net/core/rmem_max]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/core/wmem_max]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_abort_on_overflow]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_adv_win_scale]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_app_win]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_bic]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_bic_fast_convergence]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_bic_low_window]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_dsack]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_ecn]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_fack]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_fin_timeout]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_frto]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_keepalive_intvl]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_keepalive_probes]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_keepalive_time]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_low_latency]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_max_orphans]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_max_syn_backlog]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_max_tw_buckets]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_rto_min]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_rto_max]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_mem]; error: No such file or directory
tcp_mem_pressure = 65536
tcp_mem_high = 98304
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_moderate_rcvbuf]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_no_metrics_save]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_orphan_retries]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_reordering]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_retrans_collapse]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_retries1]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_retries2]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_rfc1337]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_rmem]; error: No such file or directory
tcp_rmem_default = 87380
tcp_rmem_max = 174760
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_sack]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_stdurg]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_synack_retries]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_syncookies]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_syn_retries]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_timestamps]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_tso_win_divisor]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_tw_recycle]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_tw_reuse]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_vegas_alpha]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_vegas_beta]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_vegas_cong_avoid]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_vegas_gamma]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_westwood]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_window_scaling]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/tcp_wmem]; error: No such file or directory
tcp_wmem_default = 16384
tcp_wmem_max = 131072
error opening stream for read -  file [/proc/sys/net/ipv4/ipfrag_time]; error: No such file or directory
error opening stream for read -  file [/proc/sys/net/ipv4/ip_local_port_range]; error: No such file or directory
tcp_port_max = 4096
reading config done

setting to previous values
)";

// Its release.
inline const std::string kReleaseWithoutFiles = R"(
setting to previous values

writing config...
file [/proc/sys/net/core/rmem_max]; does not exist. Skipped.
file [/proc/sys/net/core/wmem_max]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_abort_on_overflow]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_adv_win_scale]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_app_win]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_bic]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_bic_fast_convergence]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_bic_low_window]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_dsack]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_ecn]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_fack]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_fin_timeout]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_frto]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_keepalive_intvl]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_keepalive_probes]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_keepalive_time]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_low_latency]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_max_orphans]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_max_syn_backlog]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_max_tw_buckets]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_rto_min]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_rto_max]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_mem]; does not exist. Skipped.
tcp_mem_pressure = 65536
tcp_mem_high = 98304
file [/proc/sys/net/ipv4/tcp_moderate_rcvbuf]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_no_metrics_save]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_orphan_retries]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_reordering]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_retrans_collapse]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_retries1]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_retries2]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_rfc1337]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_rmem]; does not exist. Skipped.
tcp_rmem_default = 87380
tcp_rmem_max = 174760
file [/proc/sys/net/ipv4/tcp_sack]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_stdurg]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_synack_retries]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_syncookies]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_syn_retries]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_timestamps]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_tso_win_divisor]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_tw_recycle]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_tw_reuse]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_vegas_alpha]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_vegas_beta]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_vegas_cong_avoid]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_vegas_gamma]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_westwood]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_window_scaling]; does not exist. Skipped.
file [/proc/sys/net/ipv4/tcp_wmem]; does not exist. Skipped.
tcp_wmem_default = 16384
tcp_wmem_max = 131072
file [/proc/sys/net/ipv4/ipfrag_time]; does not exist. Skipped.
file [/proc/sys/net/ipv4/ip_local_port_range]; does not exist. Skipped.
tcp_port_max = 4096
config done
)";

// A release in which every file can be written and every setting has its default.
inline const std::string kReleaseWithEveryFile = R"(
setting to previous values

writing config...
rmem_max = 2621440
wmem_max = 112640
tcp_abort_on_overflow = 0
tcp_adv_win_scale = 2
tcp_app_win = 31
tcp_bic = 1
tcp_bic_fast_convergence = 1
tcp_bic_low_window = 14
tcp_dsack = 1
tcp_ecn = 0
tcp_fack = 1
tcp_fin_timeout = 60
tcp_frto = 0
tcp_keepalive_intvl = 75
tcp_keepalive_probes = 9
tcp_keepalive_time = 7200
tcp_low_latency = 0
tcp_max_orphans = 16384
tcp_max_syn_backlog = 1024
tcp_max_tw_buckets = 180000
tcp_rto_min = 200
tcp_rto_max = 120000
tcp_mem_low = 49152
tcp_mem_pressure = 65536
tcp_mem_high = 98304
tcp_moderate_rcvbuf = 1
tcp_no_metrics_save = 0
tcp_orphan_retries = 0
tcp_reordering = 3
tcp_retrans_collapse = 1
tcp_retries1 = 3
tcp_retries2 = 15
tcp_rfc1337 = 0
tcp_rmem_min = 4096
tcp_rmem_default = 87380
tcp_rmem_max = 174760
tcp_sack = 1
tcp_stdurg = 0
tcp_synack_retries = 5
tcp_syncookies = 0
tcp_syn_retries = 5
tcp_timestamps = 1
tcp_tso_win_divisor = 8
tcp_tw_recycle = 0
tcp_tw_reuse = 0
tcp_vegas_alpha = 2
tcp_vegas_beta = 6
tcp_vegas_cong_avoid = 0
tcp_vegas_gamma = 2
tcp_westwood = 0
tcp_window_scaling = 1
tcp_wmem_min = 4096
tcp_wmem_default = 16384
tcp_wmem_max = 131072
tcp_ipfrag_time = 1
tcp_port_min = 4096
tcp_port_max = 4096
config done
)";

// The files after that release.
inline const std::map<std::string, std::string> kDefaults = {
    {"core/rmem_max", "2621440"},
    {"core/wmem_max", "112640"},
    {"ipv4/tcp_abort_on_overflow", "0"},
    {"ipv4/tcp_adv_win_scale", "2"},
    {"ipv4/tcp_app_win", "31"},
    {"ipv4/tcp_bic", "1"},
    {"ipv4/tcp_bic_fast_convergence", "1"},
    {"ipv4/tcp_bic_low_window", "14"},
    {"ipv4/tcp_dsack", "1"},
    {"ipv4/tcp_ecn", "0"},
    {"ipv4/tcp_fack", "1"},
    {"ipv4/tcp_fin_timeout", "60"},
    {"ipv4/tcp_frto", "0"},
    {"ipv4/tcp_keepalive_intvl", "75"},
    {"ipv4/tcp_keepalive_probes", "9"},
    {"ipv4/tcp_keepalive_time", "7200"},
    {"ipv4/tcp_low_latency", "0"},
    {"ipv4/tcp_max_orphans", "16384"},
    {"ipv4/tcp_max_syn_backlog", "1024"},
    {"ipv4/tcp_max_tw_buckets", "180000"},
    {"ipv4/tcp_rto_min", "200"},
    {"ipv4/tcp_rto_max", "120000"},
    {"ipv4/tcp_mem", "49152 65536 98304"},
    {"ipv4/tcp_moderate_rcvbuf", "1"},
    {"ipv4/tcp_no_metrics_save", "0"},
    {"ipv4/tcp_orphan_retries", "0"},
    {"ipv4/tcp_reordering", "3"},
    {"ipv4/tcp_retrans_collapse", "1"},
    {"ipv4/tcp_retries1", "3"},
    {"ipv4/tcp_retries2", "15"},
    {"ipv4/tcp_rfc1337", "0"},
    {"ipv4/tcp_rmem", "4096 87380 174760"},
    {"ipv4/tcp_sack", "1"},
    {"ipv4/tcp_stdurg", "0"},
    {"ipv4/tcp_synack_retries", "5"},
    {"ipv4/tcp_syncookies", "0"},
    {"ipv4/tcp_syn_retries", "5"},
    {"ipv4/tcp_timestamps", "1"},
    {"ipv4/tcp_tso_win_divisor", "8"},
    {"ipv4/tcp_tw_recycle", "0"},
    {"ipv4/tcp_tw_reuse", "0"},
    {"ipv4/tcp_vegas_alpha", "2"},
    {"ipv4/tcp_vegas_beta", "6"},
    {"ipv4/tcp_vegas_cong_avoid", "0"},
    {"ipv4/tcp_vegas_gamma", "2"},
    {"ipv4/tcp_westwood", "0"},
    {"ipv4/tcp_window_scaling", "1"},
    {"ipv4/tcp_wmem", "4096 16384 131072"},
    {"ipv4/ipfrag_time", "1"},
    {"ipv4/ip_local_port_range", "4096 4096"},
};

// clang-format on

}  // namespace model
