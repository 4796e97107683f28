// The invocation table of the fake VM, and what the methods of its standard classes give.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/bridge/fake_jni_table.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

FakeVm& OwnerOf(JavaVM* vm) { return *static_cast<FakeVm*>(vm); }

jint JNICALL Attach(JavaVM* vm, void** env, void* arguments) {
  const auto* const given = static_cast<const JavaVMAttachArgs*>(arguments);
  EXPECT_TRUE(given == nullptr || given->version == JNI_VERSION_1_2);
  return OwnerOf(vm).Attach(env);
}
jint JNICALL Detach(JavaVM* vm) { return OwnerOf(vm).Detach(); }

jint JNICALL DestroyTrap(JavaVM*) {
  ADD_FAILURE() << "DestroyJavaVM is not expected here";
  return JNI_ERR;
}
jint JNICALL GetEnvTrap(JavaVM*, void**, jint) {
  ADD_FAILURE() << "GetEnv is not expected here";
  return JNI_ERR;
}
jint JNICALL DaemonTrap(JavaVM*, void**, void*) {
  ADD_FAILURE() << "AttachCurrentThreadAsDaemon is not expected here";
  return JNI_ERR;
}

}  // namespace

const JNIInvokeInterface_* FakeVmTable() {
  static const JNIInvokeInterface_ table = {nullptr, nullptr, nullptr,    DestroyTrap,
                                            Attach,  Detach,  GetEnvTrap, DaemonTrap};
  return &table;
}

std::map<std::string, FakeVm::Answer> StandardAnswers() {
  std::map<std::string, FakeVm::Answer> answers;
  answers["toString"] = [](FakeJni& jni, const Thing& target, const std::vector<jvalue>&) {
    return ValueOf(target->toStringIsNull ? nullptr : jni.NewLocal(Text(target->text)));
  };
  answers["toURL"] = [](FakeJni& jni, const Thing& target, const std::vector<jvalue>&) {
    return ValueOf(jni.NewLocal(Object("url(" + target->label + ")")));
  };
  answers["loadClass"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>& arguments) {
    std::string name = ToUtf8(jni.Vm().Look(&jni, arguments.at(0).l, "loadClass")->text);
    if (!jni.Vm().loaderClasses.contains(name)) {
      constexpr char kError[] = "java.lang.ClassNotFoundException";
      jni.SetPending(Throwable(kError, ToWide(std::string(kError) + ": " + name)));
      return ValueOf(nullptr);
    }
    std::replace(name.begin(), name.end(), '.', '/');
    return ValueOf(jni.NewLocal(Class(name)));
  };
  answers["getProperty"] = [](FakeJni& jni, const Thing&, const std::vector<jvalue>& arguments) {
    const auto found = jni.Vm().properties.find(jni.Vm().Look(&jni, arguments.at(0).l, "getProperty")->text);
    return ValueOf(found != jni.Vm().properties.end() ? jni.NewLocal(Text(found->second)) : nullptr);
  };
  return answers;
}

}  // namespace qvtest
