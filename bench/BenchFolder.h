// Where a benchmark keeps its files.
#pragma once

#include "platform/PlatformPaths.h"

#include <sys/vfs.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/// A folder on a disk, not in memory: SMS_BENCH_DIR, else /var/tmp.
class CBenchFolder {
public:
  CBenchFolder() {
    const char* pszDir = std::getenv("SMS_BENCH_DIR");
    std::string pattern = std::string(pszDir != nullptr ? pszDir : "/var/tmp") + "/sms-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("cannot make a folder: " + pattern);
    }
    m_strPath = pattern;
    constexpr long kTmpfs = 0x01021994;
    struct statfs info;
    if (statfs(m_strPath.c_str(), &info) == 0 && info.f_type == kTmpfs) {
      std::filesystem::remove_all(m_strPath);
      throw std::runtime_error(m_strPath + " is in memory; set SMS_BENCH_DIR to a folder on a disk");
    }
    PlatformPaths paths;
    paths.strUserDataDir = m_strPath;
    paths.strSettingsFile = m_strPath + "/settings.ini";
    paths.strLogFile = m_strPath + "/sms.log";
    SetPlatformPaths(paths);
  }
  ~CBenchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_strPath, ignored);
  }
  CBenchFolder(const CBenchFolder&) = delete;
  CBenchFolder& operator=(const CBenchFolder&) = delete;

  std::string File(const std::string& name) const { return m_strPath + "/userdata/" + name + ".DTC"; }

private:
  std::string m_strPath;
};
