// Settings and switches: ordinals 10, 11 and 12, with qvshr.ini beside a host program of the test's own.

#include "tests/hostlib/host_process.h"

namespace hosttest {
namespace {

using Lines = std::vector<std::string>;

class SettingsTest : public testing::TestWithParam<HostBuild> {
 protected:
  HostProcess m_process{GetParam()};
};
ON_BOTH_HOST_BUILDS(SettingsTest);

TEST_P(SettingsTest, ASettingIsReadOrElseItsFallback) {
  m_process.WriteSettings(
      "[QV]\r\nQVJRENOTUSECURRENT=1\r\nempty=\r\nspaces=  a b  \r\n[Other]\r\nkey=other\r\n[QV twice]\r\nkey=x\r\n");
  EXPECT_EQ(m_process.Run({L"setting:QV|QVJRENOTUSECURRENT|0|2", L"setting:qv|qvjrenotusecurrent|0|20",
                           L"setting:QV|missing|fallback|20", L"setting:Missing|key|fallback|20",
                           L"setting:QV|key|fallback|20", L"setting:Other|key|fallback|20",
                           L"setting:QV|empty|fallback|20", L"setting:QV|spaces|fallback|20", L"setting:QV|missing||20",
                           L"setting:QV|missing|  kept as it is  |40"}),
            (Lines{"1:1", "1:1", "8:fallback", "8:fallback", "8:fallback", "5:other", "0:", "3:a b",
                   "0:", "17:  kept as it is  "}));
}

TEST_P(SettingsTest, ASettingIsCutToItsRoomAndAlwaysTerminated) {
  m_process.WriteSettings("[S]\r\nkey=abcdef\r\n");
  EXPECT_EQ(m_process.Run({L"setting:S|key|x|20", L"setting:S|key|x|7", L"setting:S|key|x|6", L"setting:S|key|x|3",
                           L"setting:S|key|x|2", L"setting:S|key|x|1", L"setting:S|key|x|0", L"setting:S|key|x|-1",
                           L"setting:S|none|abcdef|7", L"setting:S|none|abcdef|6", L"setting:S|none|abcdef|2",
                           L"setting:S|none|abcdef|1", L"setting:S|none|abcdef|0"}),
            (Lines{"6:abcdef", "6:abcdef", "5:abcde", "2:ab", "1:a", "0:", "0:", "0:", "6:abcdef", "5:abcde", "1:a",
                   "0:", "0:"}));
}

TEST_P(SettingsTest, MissingArgumentsGiveTheFallback) {
  m_process.WriteSettings("[S]\r\nkey=value\r\n");
  EXPECT_EQ(m_process.Run({L"setting:<null>|key|f|20", L"setting:S|<null>|f|20", L"setting:S|key|<null>|20",
                           L"setting:S|missing|<null>|20"}),
            (Lines{"1:f", "1:f", "5:value", "0:"}));
}

TEST_P(SettingsTest, WithoutAFileEverySettingIsItsFallbackAndTheSwitchesAreOff) {
  EXPECT_EQ(m_process.Run({L"setting:QV|QVJRENOTUSECURRENT|0|2", L"web", L"nodetach"}), (Lines{"1:0", "0", "0"}));
}

TEST_P(SettingsTest, AnEditCountsAtOnce) {
  EXPECT_EQ(m_process.Run({L"setting:S|key|none|20", L"write:S|key|first", L"setting:S|key|none|20",
                           L"write:S|key|second", L"setting:S|key|none|20", L"write:Host|WebDeployment|1", L"web"}),
            (Lines{"4:none", "written", "5:first", "written", "6:second", "written", "1"}));
}

TEST_P(SettingsTest, TheSwitchesAreSettingsOfTheHost) {
  const auto switches = [this](const char* settings) {
    m_process.WriteSettings(settings);
    return m_process.Run({L"web", L"nodetach"});
  };
  EXPECT_EQ(switches("[Host]\r\nWebDeployment=1\r\nNoDetach=1\r\n"), (Lines{"1", "1"}));
  EXPECT_EQ(switches("[Host]\r\nWebDeployment=0\r\nNoDetach=0\r\n"), (Lines{"0", "0"}));
  EXPECT_EQ(switches("[Host]\r\nNoDetach=1\r\n[Other]\r\nWebDeployment=1\r\n"), (Lines{"0", "1"}));
}

TEST_P(SettingsTest, WhileTheProcessEndsDetachingIsForbiddenAndNothingWaits) {
  m_process.WriteSettings("[Host]\r\nNoDetach=0\r\n");
  EXPECT_EQ(m_process.Run({L"nodetach", L"witness"}),
            (Lines{"0", "watching", "at the end: no detach 1, string 1, block 1"}));
  EXPECT_EQ(m_process.exitCode, 0u);
}

}  // namespace
}  // namespace hosttest
