// Where files are kept: what was set, then the environment, then the XDG base directory rules.
#include "platform/PlatformPaths.h"

#include "NoCancel.h"
#include "PathsInForce.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace {

const char* const kApplication = "/smsapp";

std::mutex g_lock;
std::atomic<unsigned int> g_uGeneration{1};

/// What was set. Never destroyed: threads may outlive static objects.
PlatformPaths& PathsLocked() {
  static PlatformPaths* const pPaths = new PlatformPaths;
  return *pPaths;
}

std::string Environment(const char* pszName) {
  const char* const pszValue = std::getenv(pszName);
  return pszValue == nullptr ? std::string() : pszValue;
}

std::string HomeFolder() {
  const std::string strHome = Environment("HOME");
  if (!strHome.empty()) {
    return strHome;
  }
  std::vector<char> buffer(16384);
  passwd entry;
  passwd* pFound = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &pFound) == 0 && pFound != nullptr) {
    return pFound->pw_dir;
  }
  return "/";
}

/// @param pszBelowHome  the place in the home folder when the variable is not set. Relative values count as not set.
std::string XdgFolder(const char* pszVariable, const char* pszBelowHome) {
  const std::string strFolder = Environment(pszVariable);
  return (strFolder.empty() || strFolder[0] != '/' ? HomeFolder() + pszBelowHome : strFolder) + kApplication;
}

std::string FolderOfThisLibrary() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&FolderOfThisLibrary), &info) == 0 || info.dli_fname == nullptr) {
    return ".";
  }
  char szResolved[PATH_MAX];
  const std::string strFile = realpath(info.dli_fname, szResolved) == nullptr ? info.dli_fname : szResolved;
  const std::size_t nAt = strFile.find_last_of('/');
  return nAt == std::string::npos ? "." : strFile.substr(0, nAt);
}

std::string WithoutTrailingSeparators(std::string strFolder) {
  while (strFolder.size() > 1 && strFolder.back() == '/') {
    strFolder.pop_back();
  }
  return strFolder;
}

template <class Default>
void FillIn(std::string& strPath, const char* pszVariable, const Default& fnDefault) {
  if (strPath.empty() && pszVariable != nullptr) {
    strPath = Environment(pszVariable);
  }
  if (strPath.empty()) {
    strPath = fnDefault();
  }
}

}  // namespace

unsigned int paths_in_force::Generation() { return g_uGeneration.load(std::memory_order_acquire); }

void SetPlatformPaths(const PlatformPaths& paths) {
  const std::lock_guard<std::mutex> guard(g_lock);
  PathsLocked() = paths;
  g_uGeneration.fetch_add(1, std::memory_order_release);
}

PlatformPaths GetPlatformPaths() {
  const CNoCancel noCancel;
  PlatformPaths paths;
  {
    const std::lock_guard<std::mutex> guard(g_lock);
    paths = PathsLocked();
  }
  FillIn(paths.strSettingsFile, "SMS_CONFIG",
         [] { return XdgFolder("XDG_CONFIG_HOME", "/.config") + "/settings.ini"; });
  FillIn(paths.strUserDataDir, "SMS_DATA_DIR", [] { return XdgFolder("XDG_DATA_HOME", "/.local/share"); });
  FillIn(paths.strLogFile, "SMS_LOG_FILE", [] { return XdgFolder("XDG_STATE_HOME", "/.local/state") + "/sms.log"; });
  FillIn(paths.strModuleDir, nullptr, [] { return FolderOfThisLibrary(); });
  paths.strUserDataDir = WithoutTrailingSeparators(paths.strUserDataDir);
  paths.strModuleDir = WithoutTrailingSeparators(paths.strModuleDir);
  return paths;
}
