// What the user sees when the host product's registry is incomplete: the exact boxes of the numbered lists, and none of
// anything else. Boxes are caught, nobody waits for them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/jvm_config_info.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

using Boxes = std::vector<ShownBox>;

constexpr UINT kErrorIcon = 0x10;

ShownBox KeyBox(const std::wstring& path, const wchar_t* title) {
  return {L"Error initializing Java VM.\nCould not find Registry key:\nHKEY_LOCAL_MACHINE\\" + path, title, kErrorIcon,
          false};
}

ShownBox ValueBox(const std::wstring& path, const wchar_t* title) {
  return {L"Error initializing Java VM.\nCould not find Registry value:\nHKEY_LOCAL_MACHINE\\" + path, title,
          kErrorIcon, false};
}

struct Product {
  const wchar_t* host;
  const wchar_t* root;
  const wchar_t* title;
};

constexpr Product kProducts[] = {{L"C:\\hosts\\qw190.exe", kQuovantRoot, L"Quovant Java VM Service"},
                                 {L"C:\\hosts\\tn190.exe", kTableroRoot, L"Tablero Java VM Service"}};

TEST(MessageBoxes, MissingClassPathListIsShownAtEveryAttempt) {
  for (const Product& product : kProducts) {
    SCOPED_TRACE(ToUtf8(product.host));
    StartupWorld world(product.host);
    world.ConfigureKnownHost(product.root);
    const std::wstring list = L"\\Java\\QVIDEConfig\\QVSysclasspath";
    world.registry.DeleteKey(Hive::Machine, product.root + list);
    const ShownBox box = KeyBox(product.root + list, product.title);
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.boxes.Shown(), Boxes{box});
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.boxes.Shown(), (Boxes{box, box}));
  }
}

TEST(MessageBoxes, ClassPathListWithoutCountIsShown) {
  for (const Product& product : kProducts) {
    SCOPED_TRACE(ToUtf8(product.host));
    StartupWorld world(product.host);
    world.ConfigureKnownHost(product.root);
    const std::wstring list = L"\\Java\\QVIDEConfig\\QVSysclasspath";
    world.registry.DeleteValue(Hive::Machine, product.root + list, L"Count");
    EXPECT_EQ(CreateVM().status, QV_E_FAIL);
    EXPECT_EQ(world.boxes.Shown(), Boxes{ValueBox(product.root + list + L"\\Count", product.title)});
  }
}

TEST(MessageBoxes, MissingRootEndsInABareBackslashWhateverTheHive) {
  for (HKEY const hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
    StartupWorld world;
    ASSERT_TRUE(JVMConfigInfo().Load());
    IQvString* list = nullptr;
    EXPECT_FALSE(JVMConfigInfo().ReadCountedList(hive, L"Any\\List", 0x20019, &list, false));
    EXPECT_EQ(TakeText(list), L"") << "the text is empty, not absent";
    EXPECT_EQ(world.boxes.Shown(), Boxes{KeyBox(std::wstring(kQuovantRoot) + L"\\", L"Quovant Java VM Service")});
  }
}

TEST(MessageBoxes, QuietReadersShowNothing) {
  StartupWorld world;
  ASSERT_TRUE(JVMConfigInfo().Load());
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  IQvString* text = nullptr;
  EXPECT_FALSE(config.ReadCountedList(HKEY_LOCAL_MACHINE, L"Any", 0x20019, &text, true));
  TakeText(text);
  config.ReadUserClassPath(&text);
  EXPECT_EQ(TakeText(text), L"");
  EXPECT_FALSE(config.ReadJDKLocation(&text)) << "no root";
  EXPECT_FALSE(config.ReadJREBinLocation(&text)) << "no root";
  world.registry.CreateKey(Hive::Machine, kQuovantRoot);
  EXPECT_FALSE(config.ReadJDKLocation(&text)) << "no key Java";
  world.registry.CreateKey(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java");
  EXPECT_FALSE(config.ReadJDKLocation(&text)) << "no value";
  EXPECT_FALSE(config.ReadJREBinLocation(&text)) << "no value";
  EXPECT_EQ(text, nullptr);
  EXPECT_TRUE(world.boxes.Shown().empty());
}

TEST(MessageBoxes, LongPathIsCutTo511Characters) {
  StartupWorld world;
  ASSERT_TRUE(JVMConfigInfo().Load());
  world.registry.CreateKey(Hive::Machine, kQuovantRoot);
  const std::wstring longKey(700, L'k');
  IQvString* list = nullptr;
  EXPECT_FALSE(JVMConfigInfo().ReadCountedList(HKEY_LOCAL_MACHINE, longKey.c_str(), 0x20019, &list, false));
  TakeText(list);
  ShownBox want = KeyBox(std::wstring(kQuovantRoot) + L"\\" + longKey, L"Quovant Java VM Service");
  want.text.resize(511);
  EXPECT_EQ(world.boxes.Shown(), Boxes{want});
}

TEST(MessageBoxes, UnknownHostNeverSeesOne) {
  const StartupWorld world;
  world.jvm.Script().createResult = -1;
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_TRUE(world.boxes.Shown().empty());
}

}  // namespace
}  // namespace qvtest
