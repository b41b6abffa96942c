// The container with plug-ins that fail at one step each.

#include "PluginContainer.h"
#include "TempHome.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>

namespace {

using host::CPluginContainer;

const char kGoodId[] = "11111111-0000-0000-0000-000000000001";

class PluginContainer : public ::testing::Test {
protected:
  PluginContainer() { setenv("SMS_TEST_JOURNAL", m_home.Path("journal").c_str(), 1); }

  static std::string PathOf(const std::string& name) { return std::string(STEP_PLUGIN_DIR) + name + ".so"; }
  bool Load(const std::string& name) { return m_container.Load(PathOf(name), m_error); }
  std::string Journal() const { return m_home.ReadFile("journal"); }
  bool IsFound(const char* classId) {
    IBaseInterface* out = nullptr;
    m_container.QueryPluginInterface(classId, 1, &out);
    return out != nullptr;
  }
  static bool IsMapped(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    std::ostringstream text;
    text << maps.rdbuf();
    return text.str().find("/" + name + ".so") != std::string::npos;
  }

  CTempHome m_home;
  CPluginContainer m_container;
  std::string m_error;
};

TEST_F(PluginContainer, DrivesThePluginThroughItsLifeInOrder) {
  ASSERT_TRUE(Load("Good")) << m_error;
  EXPECT_TRUE(IsFound(kGoodId));
  m_container.UnloadAll();
  EXPECT_EQ(
      "Good CreatePlugin\nGood SetPluginContainer\nGood Init\nGood GetCLSID\nGood OnDestroy\nGood ReleasePlugin\n",
      Journal());
}

TEST_F(PluginContainer, EndsPluginsInTheReverseOrderOfLoading) {
  ASSERT_TRUE(Load("Good"));
  ASSERT_TRUE(Load("OtherGood"));
  m_container.UnloadAll();
  const std::string journal = Journal();
  EXPECT_LT(journal.find("OtherGood OnDestroy"), journal.find("\nGood OnDestroy"));
  EXPECT_LT(journal.find("\nGood OnDestroy"), journal.find("OtherGood ReleasePlugin"));
  EXPECT_LT(journal.find("OtherGood ReleasePlugin"), journal.find("\nGood ReleasePlugin"));
}

TEST_F(PluginContainer, UnmapsTheLibraryAtTheEnd) {
  ASSERT_TRUE(Load("Good"));
  EXPECT_TRUE(IsMapped("Good"));
  m_container.UnloadAll();
  EXPECT_FALSE(IsMapped("Good"));
  EXPECT_FALSE(IsFound(kGoodId));
}

TEST_F(PluginContainer, LoadsAgainAfterUnloading) {
  for (int life = 0; life < 3; ++life) {
    ASSERT_TRUE(Load("Good")) << m_error;
    EXPECT_TRUE(IsFound(kGoodId));
    m_container.UnloadAll();
  }
}

TEST_F(PluginContainer, UnloadsTwiceWithoutHarm) {
  ASSERT_TRUE(Load("Good"));
  m_container.UnloadAll();
  m_container.UnloadAll();
  EXPECT_EQ(std::string::npos, Journal().find("OnDestroy", Journal().find("OnDestroy") + 1));
}

TEST_F(PluginContainer, LeavesTheOutPointerAloneForAnUnknownIdentifier) {
  ASSERT_TRUE(Load("Good"));
  int marker = 0;
  IBaseInterface* const before = reinterpret_cast<IBaseInterface*>(&marker);
  IBaseInterface* out = before;
  EXPECT_FALSE(m_container.QueryPluginInterface("unknown", 1, &out));
  EXPECT_FALSE(m_container.QueryPluginInterface(kGoodId, 999, &out));
  EXPECT_EQ(before, out);
}

TEST_F(PluginContainer, RefusesNullArgumentsOfALookUp) {
  IBaseInterface* out = nullptr;
  EXPECT_FALSE(m_container.QueryPluginInterface(nullptr, 1, &out));
  EXPECT_FALSE(m_container.QueryPluginInterface(kGoodId, 1, nullptr));
}

TEST_F(PluginContainer, CallsNeitherEntryPointWhenOneIsMissing) {
  EXPECT_FALSE(Load("NoRelease"));
  EXPECT_EQ("NoRelease.so: cannot be loaded: it has no function ReleasePlugin", m_error);
  EXPECT_EQ("", Journal());
}

TEST_F(PluginContainer, SaysWhichLibraryIsMissing) {
  EXPECT_FALSE(Load("NotThere"));
  EXPECT_EQ(0u, m_error.find("NotThere.so: cannot be loaded: ")) << m_error;
  EXPECT_NE(std::string::npos, m_error.find("No such file")) << m_error;
}

TEST_F(PluginContainer, RefusesAFileThatIsNoLibrary) {
  m_home.WriteFile("Text.so", "no library");
  EXPECT_FALSE(m_container.Load(m_home.Path("Text.so"), m_error));
  EXPECT_EQ(0u, m_error.find("Text.so: cannot be loaded: ")) << m_error;
}

TEST_F(PluginContainer, RefusesAnIdentifierThatIsTakenAndKeepsTheFirst) {
  ASSERT_TRUE(Load("Good"));
  EXPECT_FALSE(Load("SameIdentifier"));
  EXPECT_EQ(
      "SameIdentifier.so: its class identifier 11111111-0000-0000-0000-000000000001 is taken by a plug-in that is "
      "loaded already",
      m_error);
  EXPECT_TRUE(IsFound(kGoodId));
  EXPECT_FALSE(IsMapped("SameIdentifier"));
}

struct Fault {
  const char* plugin;
  const char* error;
  bool released;  // an object was made, so it must be released
};

void PrintTo(const Fault& row, std::ostream* out) { *out << row.plugin; }

class PluginContainerFault : public PluginContainer, public ::testing::WithParamInterface<Fault> {};

TEST_P(PluginContainerFault, UndoesTheLoadAndSaysWhichStepAndWhy) {
  EXPECT_FALSE(Load(GetParam().plugin));
  EXPECT_EQ(GetParam().error, m_error);
  EXPECT_EQ(GetParam().released, Journal().find("ReleasePlugin") != std::string::npos) << Journal();
  EXPECT_FALSE(IsMapped(GetParam().plugin));
  EXPECT_FALSE(IsFound(kGoodId));
  EXPECT_TRUE(Load("Good")) << "another plug-in must not suffer: " << m_error;
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, PluginContainerFault,
    ::testing::Values(Fault{"CreateNull", "CreateNull.so: CreatePlugin made no plug-in", false},
                      Fault{"CreateThrows", "CreateThrows.so: CreatePlugin failed: thrown in CreatePlugin", false},
                      Fault{"SetContainerThrows",
                            "SetContainerThrows.so: SetPluginContainer failed: thrown in SetPluginContainer", true},
                      Fault{"InitFalse", "InitFalse.so: Init failed: error 7", true},
                      Fault{"InitReason", "InitReason.so: Init failed: the port is busy. Close the other program.",
                            true},
                      Fault{"InitThrows", "InitThrows.so: Init failed with an unknown exception", true},
                      Fault{"IdentifierThrows", "IdentifierThrows.so: GetCLSID failed: thrown in GetCLSID", true}),
    [](const auto& testInfo) { return std::string(testInfo.param.plugin); });

TEST_F(PluginContainer, EndsTheOthersWhenOnePluginThrowsAtTheEnd) {
  for (const char* faulty : {"DestroyThrows", "ReleaseThrows"}) {
    ASSERT_TRUE(Load("OtherGood")) << m_error;
    ASSERT_TRUE(Load(faulty)) << m_error;
    m_container.UnloadAll();
    EXPECT_FALSE(IsMapped(faulty));
    EXPECT_FALSE(IsMapped("OtherGood"));
  }
}

}  // namespace
