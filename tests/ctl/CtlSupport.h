// The built smsctl in a home folder of its own.
#pragma once

#include "RunProgram.h"
#include "Simulator.h"
#include "TempHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

class CSmsCtlTest : public ::testing::Test {
protected:
  ProgramResult Run(std::vector<std::string> arguments, const std::string& input = std::string()) const {
    arguments.insert(arguments.begin(), BuiltProgram("smsctl"));
    return RunProgram(arguments,
                      {"XDG_CONFIG_HOME=" + m_home.Path("config"), "XDG_DATA_HOME=" + m_home.Path("data"),
                       "XDG_STATE_HOME=" + m_home.Path("state"), "HOME=" + m_home.Path()},
                      input);
  }
  /// Standard output of a command that must succeed.
  std::string Out(const std::vector<std::string>& arguments) const {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(0, result.status) << result.err;
    return result.out;
  }
  std::string StartSimulator(const std::vector<std::string>& arguments = {}) {
    std::string error;
    EXPECT_TRUE(m_simulator.Start(arguments, error)) << error;
    return m_simulator.Port();
  }
  static int CountLines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  }
  std::string DatabaseFile() const { return m_home.Path("data/smsapp/userdata/SMS.DTC"); }

  CTempHome m_home;
  smsctl::CSimulator m_simulator;
};
