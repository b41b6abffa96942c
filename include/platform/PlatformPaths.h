// Where the platform keeps and finds its files.
#pragma once

#include "platform/PlatformExport.h"

#include <string>

/// UTF-8 paths; an empty one means the default of the XDG base directory rules (or /etc, /var/lib for the system
/// service, through the environment variables of the same meaning).
struct PlatformPaths {
  std::string strSettingsFile;  // SMS_CONFIG, else $XDG_CONFIG_HOME/smsapp/settings.ini
  std::string strUserDataDir;   // SMS_DATA_DIR, else $XDG_DATA_HOME/smsapp; holds "userdata/SMS.DTC"
  std::string strLogFile;       // SMS_LOG_FILE, else $XDG_STATE_HOME/smsapp/sms.log
  std::string strModuleDir;     // else the folder of the platform library
};

/// Sets all four; call before anything else of the platform is used. Empty members take their defaults.
PLATFORM_API void SetPlatformPaths(const PlatformPaths& paths);
/// The paths in force, defaults filled in; directories without a trailing separator.
PLATFORM_API PlatformPaths GetPlatformPaths();
