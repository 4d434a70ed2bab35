#pragma once

// The gateway's files, as the tests see them.

inline constexpr char key_file[] = "/usr/lib/libkqutm.so";
inline constexpr char registry_marker[] = "/tmp/utm_user_profile_shm";

inline constexpr char safe_browsing_file[] = "/tmp/web_safe_browsing_activate";
inline constexpr char category_file[] = "/tmp/web_category_activate";
inline constexpr char filter_marker[] = "/tmp/cf_activate";
inline constexpr char kernel_enable[] = "/proc/net/cfilter_enable";
inline constexpr char kernel_hdf_enable[] = "/proc/net/cfilter_hdf_enable";
inline constexpr char kernel_redirect_url[] = "/proc/net/cfilter_redirect_url";
inline constexpr char pid_file[] = "/var/run/contfltd.pid";
inline constexpr char command_file[] = "/var/run/contfltd.cmd";
