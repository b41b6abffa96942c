#include "TempHome.h"

#include "platform/PlatformPaths.h"
#include "platform/TraceSrv.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

CTempHome::CTempHome() {
  std::string pattern = (fs::temp_directory_path() / "sms-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot make a temporary folder");
  }
  m_strPath = pattern;
  PlatformPaths paths;
  paths.strSettingsFile = SettingsFile();
  paths.strUserDataDir = DataDir();
  paths.strLogFile = LogFile();
  paths.strModuleDir = ModuleDir();
  SetPlatformPaths(paths);
}

CTempHome::~CTempHome() {
  TraceSrv_Flush();
  std::error_code ignored;
  fs::remove_all(m_strPath, ignored);
}

void CTempHome::WriteSettings(const std::string& text) const { WriteFile("settings.ini", text); }

void CTempHome::WriteFile(const std::string& name, const std::string& text) const {
  fs::create_directories(fs::path(Path(name)).parent_path());
  std::ofstream(Path(name), std::ios::binary | std::ios::trunc) << text;
}

std::string CTempHome::ReadFile(const std::string& name) const {
  std::ifstream in(Path(name), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}
