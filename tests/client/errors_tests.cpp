// Failures in both styles: the text is Java's own and whole, and nothing stays pending.
#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::HasSubstr;

class ClientErrors : public testing::Test {
 protected:
  // Any use of JNI with an exception pending would make the next call fail.
  ~ClientErrors() override { EXPECT_EQ(java.new_string(L"abc").call<int32_t>("length"), 3); }

  const qvjvm::jvm java = StartOnce();
};

TEST_F(ClientErrors, AJavaExceptionIsThrownWithItsText) {
  const qvjvm::class_ref integer = java.find_class("java/lang/Integer");
  const qvjvm::failure failure =
      FailureOf([&] { (void)integer.call_static<int32_t>("parseInt", L"\u00bd K\u00f6ln"); });
  EXPECT_EQ(failure.status(), QV_E_FAIL);
  EXPECT_THAT(failure.message(), HasSubstr(L"java.lang.NumberFormatException: For input string: \"\u00bd K\u00f6ln\""));
}

TEST_F(ClientErrors, WhatIsTheTextInUtf8) {
  const qvjvm::error error(qvjvm::failure{QV_E_FAIL, L"\u00e4 \u20ac \xD83D\xDE00 \xD800"});
  EXPECT_STREQ(error.what(), "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 \xEF\xBF\xBD");
}

TEST_F(ClientErrors, ALongTextIsNotCut) {
  const std::wstring digits(5000, L'x');
  const qvjvm::class_ref integer = java.find_class("java/lang/Integer");
  const auto result = integer.try_call_static<int32_t>("parseInt", digits);
  ASSERT_FALSE(result);
  EXPECT_THAT(result.reason().message(), HasSubstr(digits));
}

TEST_F(ClientErrors, TheResultStyleThrowsOnlyWhenLookedInto) {
  const qvjvm::object list = java.find_class("java/util/ArrayList").create();
  auto missing = list.try_call<qvjvm::object>("get", 3);
  EXPECT_FALSE(missing);
  EXPECT_THROW((void)missing.value(), qvjvm::error);
  auto size = list.try_call<int32_t>("size");
  ASSERT_TRUE(size);
  EXPECT_EQ(size.value(), 0);
}

TEST_F(ClientErrors, WhatIsMissingIsNamed) {
  const qvjvm::class_ref list = java.find_class("java/util/ArrayList");
  const qvjvm::object object = list.create();
  EXPECT_THAT(FailureOf([&] { (void)java.find_class("no/such/Thing"); }).message(), HasSubstr(L"no/such/Thing"));
  EXPECT_THAT(FailureOf([&] { object.call("fly"); }).message(), HasSubstr(L"fly"));
  EXPECT_THAT(FailureOf([&] { (void)object.call<int64_t>("size"); }).message(), HasSubstr(L"size"));
  EXPECT_THAT(FailureOf([&] { list.call_static("fly"); }).message(), HasSubstr(L"fly"));
  EXPECT_THAT(FailureOf([&] { (void)list.static_field<int32_t>("wings"); }).message(), HasSubstr(L"wings"));
  EXPECT_THAT(FailureOf([&] { (void)object.field<int32_t>("wings"); }).message(), HasSubstr(L"wings"));
  EXPECT_THAT(FailureOf([&] { (void)list.create(1.5); }).message(), HasSubstr(L"<init>"));
  EXPECT_THAT(FailureOf([&] { (void)list.find_method<void()>("fly"); }).message(), HasSubstr(L"fly"));
}

TEST_F(ClientErrors, AConstructorThatThrowsGivesNoObject) {
  const qvjvm::class_ref list = java.find_class("java/util/ArrayList");
  const auto made = list.try_create(-1);
  ASSERT_FALSE(made);
  EXPECT_THAT(made.reason().message(), HasSubstr(L"java.lang.IllegalArgumentException"));
}

TEST_F(ClientErrors, ANullObjectIsRefused) {
  const qvjvm::object null;
  EXPECT_EQ(FailureOf([&] { null.call("toString"); }).status(), QV_E_INVALIDARG);
  EXPECT_EQ(FailureOf([&] { (void)null.get_class(); }).status(), QV_E_INVALIDARG);
  const auto size = java.find_class("java/util/ArrayList").find_method<int32_t()>("size");
  EXPECT_EQ(FailureOf([&] { (void)size(null); }).status(), QV_E_INVALIDARG);
}

TEST_F(ClientErrors, AMissingOrForeignLibraryIsNamed) {
  EXPECT_THAT(FailureOf([] { (void)qvjvm::jvm::start(nullptr, L"no-such-service.dll"); }).message(),
              HasSubstr(L"no-such-service.dll"));
  EXPECT_THAT(FailureOf([] { (void)qvjvm::jvm::start(nullptr, L"kernel32.dll"); }).message(), HasSubstr(L"kernel32.dll"));
}

}  // namespace
}  // namespace qvtest
