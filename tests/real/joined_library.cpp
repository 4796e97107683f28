// The library of a Java program: runs the tests on the program's thread and gives back their result.
// Arguments are those of a test program, without its name.
// The output goes where the program's goes.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "tests/real/joined_host.h"

extern "C" JNIEXPORT jint JNICALL Java_program_JoinMain_runTests(JNIEnv* env, jclass, jobjectArray arguments) {
  JavaVM* vm = nullptr;
  if (env->GetJavaVM(&vm) != JNI_OK) return 1;
  qvtest::UseVmOfJavaProgram(vm);
  std::vector<std::string> texts = {"joined_tests"};
  for (jsize i = 0; i < env->GetArrayLength(arguments); ++i) {
    const auto string = static_cast<jstring>(env->GetObjectArrayElement(arguments, i));
    const char* const text = env->GetStringUTFChars(string, nullptr);
    texts.emplace_back(text);
    env->ReleaseStringUTFChars(string, text);
    env->DeleteLocalRef(string);
  }
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  int count = static_cast<int>(pointers.size());
  pointers.push_back(nullptr);
  testing::InitGoogleTest(&count, pointers.data());
  const int result = RUN_ALL_TESTS();
  std::fflush(stdout);
  return result;
}
