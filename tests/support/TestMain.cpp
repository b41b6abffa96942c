#include "platform/TraceSrv.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

/// What a test without a CTempHome writes stays away from the user's own settings, messages and log.
class CProcessHome {
public:
  CProcessHome() : m_folder(std::filesystem::temp_directory_path() / ("sms-test-process-" + std::to_string(getpid()))) {
    for (const char* variable : {"SMS_CONFIG", "SMS_DATA_DIR", "SMS_LOG_FILE", "SMS_DEVICE"}) {
      unsetenv(variable);
    }
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
      setenv(variable, m_folder.c_str(), 1);
    }
  }
  ~CProcessHome() {
    TraceSrv_Flush();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

private:
  const std::filesystem::path m_folder;  // made by whoever writes first
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const CProcessHome home;
  return RUN_ALL_TESTS();
}
