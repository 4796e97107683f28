// What a JVM writes about itself, and the class path that an archive may be made with.
#include <gtest/gtest.h>

#include "train/vm_report.h"

namespace train {
namespace {

constexpr const char* kReport =
    "<?xml version='1.0' encoding='UTF-8'?>\r\n<vm_version>\r\n<release>\r\n17.0.9+9\r\n</release>\r\n</vm_version>\r\n"
    "<vm_arguments>\r\n<args>\r\n-Xmx128m -Dname=a&amp;b &lt;c&gt;\r\n</args>\r\n<properties>\r\n"
    "java.vm.name=VM\r\njava.home=C:\\Program Files\\Java&apos;s\r\njava.class.path=C:\\a.jar;.\r\n"
    "jdk.boot.class.path.append=;C:\\boot.jar\r\n</properties>\r\n</vm_arguments>\r\n";

TEST(VmReport, TellsWhereTheJvmIsFromAndWhatItWasGiven) {
  const auto report = ReadVmReport(kReport);
  ASSERT_TRUE(report);
  EXPECT_EQ(report->version, "17.0.9+9");
  EXPECT_EQ(report->home, "C:\\Program Files\\Java's");
  EXPECT_EQ(report->classPath, "C:\\a.jar;.");
  EXPECT_EQ(report->bootClassPath, "C:\\boot.jar");
  EXPECT_EQ(report->arguments, "-Xmx128m -Dname=a&b <c>");
}

TEST(VmReport, OneThatEndsEarlyIsNone) {
  EXPECT_FALSE(ReadVmReport(""));
  EXPECT_FALSE(ReadVmReport(std::string_view(kReport).substr(0, 300)));
}

TEST(VmReport, AnArchiveHasTheJarsBeforeTheFirstFolder) {
  EXPECT_EQ(ClassPathOfArchive("C:\\a.jar;C:\\B.JAR;."), "C:\\a.jar;C:\\B.JAR");
  EXPECT_EQ(ClassPathOfArchive("C:\\a.jar;C:\\classes;C:\\b.jar;."), "C:\\a.jar");
  EXPECT_EQ(ClassPathOfArchive("."), "");
  EXPECT_EQ(ClassPathOfArchive(""), "");
}

}  // namespace
}  // namespace train
