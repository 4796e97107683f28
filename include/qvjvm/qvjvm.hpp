/// @file
/// The C++ client of the Java VM Service: header-only, C++20, over qvjvm.h. No JDK and no import library is needed.
///
/// @code
/// qvjvm::jvm java = qvjvm::jvm::start();
/// auto list = java.find_class("java/util/ArrayList").create();
/// list.call_as<bool>("add", "(Ljava/lang/Object;)Z", L"Gr\u00fc\u00dfe");
/// int32_t size = list.call<int32_t>("size");
/// @endcode
///
/// Threads: a qvjvm::jvm, a qvjvm::global and a resolved method may be used on any thread, also on several at once. An
/// object, a class_ref and a frame belong to the thread that got them. A thread joins the JVM at its first use and
/// leaves it when it ends; it then has no context class loader, which some libraries (JNDI, JAXP) ask for.
///
/// Errors: functions throw qvjvm::error; those whose names begin with try_ hand back a qvjvm::result instead. No Java
/// exception stays pending.
#pragma once

#include <windows.h>

#include "qvjvm/client/object.hpp"

namespace qvjvm {

/// The process's Java VM, through a service object of its own. Copies share that object; move it or copy it freely.
class jvm {
 public:
  /// Loads the service, starts the JVM or joins the one that runs.
  /// @param class_path  an extra class path, used only by the call that creates the JVM; see class_path_ignored.
  /// @param library     the service's DLL; a plain name is looked for where Windows looks for DLLs. It stays loaded.
  /// @throws qvjvm::error when the DLL cannot be loaded or there is no Java VM to be had.
  [[nodiscard]] static jvm start(const wchar_t* class_path = nullptr, const wchar_t* library = L"qvjvm.dll") {
    return std::move(try_start(class_path, library).value());
  }
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<jvm> try_start(const wchar_t* class_path = nullptr,
                                             const wchar_t* library = L"qvjvm.dll") {
    const HMODULE service = LoadLibraryW(library);
    if (service == nullptr) {
      return failure{static_cast<int32_t>(GetLastError()),
                     std::wstring(L"cannot load ") + library + L", Windows error " + std::to_wstring(GetLastError())};
    }
    const auto create =
        reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")));
    if (create == nullptr) return failure{QV_E_FAIL, std::wstring(library) + L" is not the Java VM Service"};
    IQV_JavaVM* vm = nullptr;
    const int32_t status = create(&vm, class_path);
    if (status < 0) {
      return failure{status, L"no Java VM: no Java runtime was found, or it refused to start (see its log)"};
    }
    return jvm(vm, status == QV_S_CLASSPATH_IGNORED);
  }
  /// Another reference to a service object that the host has already.
  [[nodiscard]] static jvm share(IQV_JavaVM* vm) {
    vm->AddRef();
    return jvm(vm, false);
  }

  /// Shares the service object.
  jvm(const jvm& other) noexcept : vm_(other.vm_), class_path_ignored_(other.class_path_ignored_) { vm_->AddRef(); }
  /// Leaves an object that can only be assigned to or destroyed.
  jvm(jvm&& other) noexcept : vm_(std::exchange(other.vm_, nullptr)), class_path_ignored_(other.class_path_ignored_) {}
  /// Shares or takes over the other's service object.
  jvm& operator=(jvm other) noexcept {
    std::swap(vm_, other.vm_);
    std::swap(class_path_ignored_, other.class_path_ignored_);
    return *this;
  }
  ~jvm() {
    if (vm_ != nullptr) vm_->Release();
  }

  /// The service object; it stays this object's.
  [[nodiscard]] IQV_JavaVM* get() const noexcept { return vm_; }
  /// Whether the JVM had been created before and start's class path came too late.
  [[nodiscard]] bool class_path_ignored() const noexcept { return class_path_ignored_; }
  /// Whether the service created the JVM; false when it joined one.
  [[nodiscard]] bool created() const {
    int32_t created = 0;
    vm_->IsJVMCreated(&created);
    return created != 0;
  }
  /// The calling thread's JNIEnv*, for JNI by hand.
  /// @throws qvjvm::error when the thread cannot be joined.
  [[nodiscard]] qv_jnienv env() const { return detail::current(vm_).value().env; }

  /// A class by its JNI name, "java/lang/String". In a joined JVM the service's own class path is searched second.
  /// @throws qvjvm::error when there is no such class.
  [[nodiscard]] class_ref find_class(const char* name) const { return std::move(try_find_class(name).value()); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<class_ref> try_find_class(const char* name) const {
    auto java = detail::current(vm_);
    if (!java) return java.reason();
    qv_jclass cls = nullptr;
    const int32_t status = vm_->FindClass(&cls, name);
    if (status < 0) return detail::last_failure(vm_, status, L"the class was not found");
    return class_ref(detail::local(java.value(), cls));
  }
  /// A new Java string with the text.
  /// @throws qvjvm::error without memory in Java.
  [[nodiscard]] object new_string(std::wstring_view text) const {
    detail::local made = detail::string_type::make(detail::current(vm_).value(), text);
    if (made.get() == nullptr) throw error(detail::take_exception(made.java()));
    return object(std::move(made));
  }

  /// The Java version that runs, "17.0.9". Only for a JVM that the service created.
  [[nodiscard]] std::wstring java_version() const { return text(&IQV_JavaVM::GetJavaVersion, L"no java.version"); }
  /// The class path of a created JVM, or the service's own in a joined one.
  [[nodiscard]] std::wstring class_path() const { return text(&IQV_JavaVM::GetClassPath, L"no class path"); }
  /// Where the JVM's own output goes.
  [[nodiscard]] std::wstring log_file() const { return text(&IQV_JavaVM::GetLogFileName, L"no log file"); }
  /// Sends the JVM's output to another file, which begins anew. For the whole process.
  void set_log_file(const wchar_t* path) const { vm_->SetLogFileName(path); }
  /// Drops or logs the JVM's output. For the whole process.
  void set_log_enabled(bool enabled) const { vm_->SetJvmLogEnabled(enabled ? 1 : 0); }

 private:
  using text_operation = int32_t (IQV_JavaVM::*)(IQvString**) noexcept;

  jvm(IQV_JavaVM* vm, bool class_path_ignored) noexcept : vm_(vm), class_path_ignored_(class_path_ignored) {}

  std::wstring text(text_operation operation, const wchar_t* fallback) const {
    IQvString* text = nullptr;
    const int32_t status = (vm_->*operation)(&text);
    if (status < 0) throw error(detail::last_failure(vm_, status, fallback));
    return detail::take_text(text);
  }

  IQV_JavaVM* vm_;
  bool class_path_ignored_;
};

/// Frees every local reference that the thread makes during its life, those of the service's own operations too. For
/// loops on threads that live long. References made inside must not be used after it.
class frame {
 public:
  /// @param java      the Java VM
  /// @param capacity  how many references are expected; there may be more
  /// @throws qvjvm::error without memory in Java.
  explicit frame(const jvm& java, int32_t capacity = 16) : env_(java.env()) {
    if (detail::invoke<int32_t>(env_, detail::place::push_local_frame, 0, capacity) < 0) {
      throw error(detail::take_exception({java.get(), env_}));
    }
  }
  ~frame() { detail::invoke<void*>(env_, detail::place::pop_local_frame, 0, static_cast<void*>(nullptr)); }
  frame(const frame&) = delete;
  frame& operator=(const frame&) = delete;

 private:
  qv_jnienv env_;
};

}  // namespace qvjvm
