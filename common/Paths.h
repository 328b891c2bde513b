// The paths the tool would otherwise hard-code, each with the product's value
// as default and an environment override for tests and the demo.
#pragma once

#include <string>

namespace vkt_paths {

// CUPS server root: $CUPS_SERVERROOT, default "/etc/cups".
std::string CupsServerRoot();

// The folder of the installed PPD files: <server root>/ppd.
std::string PpdFolder();

// The PPD file of a queue: <server root>/ppd/<queue>.ppd.
std::string PpdPathForQueue(const std::string& queue);

// The user's private temporary directory, always ending in "/":
// $XDG_RUNTIME_DIR, else $TMPDIR, else /tmp.
std::string TemporaryDirectory();

// Port of the privileged PPD service: $VKT_PPD_SERVICE_PORT, default 24671.
int PpdServicePort();

// The driver's job-log folder, whose files "Delete log files" removes:
// $VKT_JOBLOG_DIR, default "/var/log/VKTS3S1Log/" (always ends in "/").
std::string JobLogFolder();

}  // namespace vkt_paths
