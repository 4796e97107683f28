// Failures in both styles: the text is Java's own and whole, and nothing stays pending.
#include <jni.h>

#include <functional>
#include <thread>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::HasSubstr;

using ClientErrors = ClientTest;

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

using Faults = qvjvm::instance<"client/Faults">;

qvjvm::java_error ThrownBy(const std::function<void()>& work) {
  try {
    work();
  } catch (const qvjvm::java_error& error) {
    return error;
  }
  throw std::logic_error("nothing was thrown");
}

TEST_F(ClientErrors, AJavaErrorHasTheThrowableItself) {
  const qvjvm::java_error error = ThrownBy([&] { Faults::call_static<"chain">(java); });
  EXPECT_EQ(error.class_name(), L"java.io.IOException");
  EXPECT_EQ(error.java_message(), L"outer");
  EXPECT_EQ(error.message(), L"java.io.IOException: outer");
  EXPECT_STREQ(error.what(), "java.io.IOException: outer");
  const qvjvm::throwable outer = error.exception();
  const qvjvm::throwable cause = outer.cause();
  EXPECT_EQ(cause.text(), L"java.lang.IllegalStateException: inner");
  EXPECT_FALSE(cause.cause());
  const auto suppressed = outer.suppressed();
  ASSERT_EQ(suppressed.size(), 1U);
  EXPECT_EQ(suppressed[0].message(), L"on the way");
  const auto stack = outer.stack_trace();
  ASSERT_EQ(stack.size(), 1U);
  EXPECT_EQ(stack[0].class_name, L"client.Faults");
  EXPECT_EQ(stack[0].method, L"chain");
  EXPECT_EQ(stack[0].file, L"Faults.java");
  EXPECT_GT(stack[0].line, 10);
  const std::wstring text = error.stack_text();
  EXPECT_THAT(text, HasSubstr(L"java.io.IOException: outer"));
  EXPECT_THAT(text, HasSubstr(L"at client.Faults.chain(Faults.java:"));
  EXPECT_THAT(text, HasSubstr(L"Suppressed: java.lang.RuntimeException: on the way"));
  EXPECT_THAT(text, HasSubstr(L"Caused by: java.lang.IllegalStateException: inner"));
}

TEST_F(ClientErrors, AFailureOfTheResultStyleHasItToo) {
  const auto failed = Faults::try_call_static<"chain">(java);
  ASSERT_FALSE(failed);
  EXPECT_TRUE(failed.reason().is_java());
  EXPECT_EQ(failed.reason().exception().cause().message(), L"inner");
  EXPECT_FALSE(Faults::try_call_static<"notThere">(java).reason().message().empty());
}

TEST_F(ClientErrors, AJavaErrorIsCaughtByItsClass) {
  const qvjvm::java_error error = ThrownBy([&] { Faults::call_static<"notFound">(java); });
  EXPECT_TRUE(error.catch_as<"java/io/FileNotFoundException">());
  const auto io = error.catch_as<"java/io/IOException">();
  ASSERT_TRUE(io);
  EXPECT_EQ(io->message(), L"lost.txt");
  EXPECT_FALSE(error.catch_as<"java/lang/RuntimeException">());
  EXPECT_FALSE(error.catch_as<"no/such/Exception">());
}

TEST_F(ClientErrors, AJavaErrorIsRaisedAgainInJava) {
  const qvjvm::java_error error = ThrownBy([&] { Faults::call_static<"chain">(java); });
  auto* const env = static_cast<JNIEnv*>(java.env());
  error.rethrow_in_java();
  const jthrowable pending = env->ExceptionOccurred();
  env->ExceptionClear();
  EXPECT_TRUE(env->IsSameObject(pending, static_cast<jobject>(error.exception().get())));
  env->DeleteLocalRef(pending);
}

TEST_F(ClientErrors, AFailureTellsItsTextWhileItIsRaisedAgain) {
  const auto failed = Faults::try_call_static<"chain">(java);
  auto* const env = static_cast<JNIEnv*>(java.env());
  failed.reason().exception().throw_in_java();
  EXPECT_THAT(failed.reason().message(), HasSubstr(L"outer"));
  EXPECT_TRUE(env->ExceptionCheck());
  env->ExceptionClear();
}

TEST_F(ClientErrors, ErrorsOutliveFramesThreadsAndTheJvmHandle) {
  std::optional<qvjvm::java_error> kept;
  std::thread([&] {
    const qvjvm::jvm other = qvjvm::jvm::share(java.get());
    const qvjvm::frame frame(other);
    kept = ThrownBy([&] { Faults::call_static<"chain">(other); });
  }).join();
  EXPECT_EQ(kept->message(), L"java.io.IOException: outer");
  EXPECT_EQ(kept->exception().cause().message(), L"inner");
  qvjvm::failure reason;
  std::thread([&] {
    const qvjvm::jvm other = qvjvm::jvm::share(java.get());
    reason = Faults::try_call_static<"notFound">(other).reason();
  }).join();
  EXPECT_EQ(reason.message(), L"java.io.FileNotFoundException: lost.txt");
}

TEST_F(ClientErrors, ExceptionsThatCannotSayWhatTheyAre) {
  EXPECT_EQ(Faults::try_call_static<"mute">(java).reason().message(), L"client.Faults$Mute");
  EXPECT_EQ(Faults::try_call_static<"silent">(java).reason().message(), L"client.Faults$Silent: but a message");
}

TEST_F(ClientErrors, TextsOfAnyLength) {
  for (const int32_t length : {0, 511, 512, 100000, 5000000}) {
    const std::wstring text = Faults::try_call_static<"longText">(java, length).reason().message();
    EXPECT_EQ(text.size(), static_cast<size_t>(length) + std::size(L"java.lang.RuntimeException: ") - 1);
  }
}

TEST_F(ClientErrors, AClassThatCannotBeInitialisedSaysWhy) {
  using Broken = qvjvm::instance<"client/Faults$Broken">;
  EXPECT_EQ((Broken::try_call_static<"value", int32_t>(java).reason().message()),
            L"java.lang.ExceptionInInitializerError, caused by java.lang.NumberFormatException: For input string: \"no "
            L"number\"");
  EXPECT_THAT((Broken::try_call_static<"value", int32_t>(java).reason().message()),
              HasSubstr(L"Could not initialize class client.Faults$Broken"));
}

TEST_F(ClientErrors, AStackThatOverflowsAndAHeapThatIsFull) {
  EXPECT_EQ((Faults::try_call_static<"deep", int32_t>(java, 0).reason().message()), L"java.lang.StackOverflowError");
  const auto full = Faults::try_call_static<"fill">(java);
  ASSERT_FALSE(full);
  // The heap is still full: even the text has to come without a new object.
  EXPECT_EQ(full.reason().message(), L"java.lang.OutOfMemoryError: Java heap space");
  Faults::call_static<"release">(java);
  EXPECT_EQ((java.create<"java/util/ArrayList">().call<"size", int32_t>()), 0);
}

TEST_F(ClientErrors, NoTextIsFromAnEarlierCall) {
  // Another user of the same service object fails first; what it left there is not ours.
  qv_jclass cls = nullptr;
  EXPECT_LT(java.get()->FindClass(&cls, "no/such/Other"), 0);
  EXPECT_THAT(FailureOf([&] { (void)java.find_class("no/such/Thing"); }).message(), HasSubstr(L"no/such/Thing"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      const std::string name = "no/such/Thing" + std::to_string(i) + "x";
      for (int n = 0; n < 50; ++n) {
        EXPECT_THAT(java.try_find_class(name.c_str()).reason().what(), HasSubstr(name));
        EXPECT_FALSE(qvjvm::detail::exception_pending(java.env()));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ClientErrors, ResultsAreReadInEveryWay) {
  const auto good = java.try_create<"java/util/ArrayList">().value().try_call<"size", int32_t>();
  EXPECT_EQ(good.value(), 0);  // of a constant result
  EXPECT_FALSE(good.reason());
  EXPECT_EQ(good.reason().status(), QV_S_OK);
  EXPECT_EQ(good.reason().message(), L"");
  const qvjvm::result<void> fine;
  EXPECT_TRUE(fine);
  EXPECT_EQ(fine.reason().status(), QV_S_OK);
  fine.value();
  const auto bad = Faults::try_call_static<"chain">(java);
  EXPECT_THROW(bad.value(), qvjvm::java_error);
  EXPECT_EQ((java.try_create<"java/util/ArrayList">(-1).reason().status()), QV_E_FAIL);
  EXPECT_EQ(java.new_string("x").try_call<int32_t>("length").value_or(7), 1);
  EXPECT_EQ(java.new_string("x").try_call<char16_t>("charAt", 5).value_or(u'?'), u'?');
  qvjvm::failure own(5, L"of the host");
  const qvjvm::failure copy = own;
  own = {};
  EXPECT_EQ(copy.message(), L"of the host");
  EXPECT_FALSE(copy.is_java());
  EXPECT_FALSE(copy.exception());
}

TEST_F(ClientErrors, AMissingOrForeignLibraryIsNamed) {
  EXPECT_THAT(FailureOf([] { (void)qvjvm::jvm::start(nullptr, L"no-such-service.dll"); }).message(),
              HasSubstr(L"no-such-service.dll"));
  EXPECT_THAT(FailureOf([] { (void)qvjvm::jvm::start(nullptr, L"no\\such\\qvjvm.dll"); }).message(),
              HasSubstr(L"cannot load no\\such\\qvjvm.dll, Windows error "));
  EXPECT_EQ(FailureOf([] { (void)qvjvm::jvm::start(nullptr, nullptr); }).status(), QV_E_INVALIDARG);
  EXPECT_THAT(FailureOf([] { (void)qvjvm::jvm::start(nullptr, L"kernel32.dll"); }).message(),
              HasSubstr(L"kernel32.dll"));
}

}  // namespace
}  // namespace qvtest
