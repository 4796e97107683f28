/// @file
/// The C++ client of the Java VM Service: header-only, C++20, over qvjvm.h. No JDK and no import library is needed.
///
/// @code
/// qvjvm::jvm java = qvjvm::jvm::start();
/// auto list = java.create<"java/util/ArrayList">();
/// list.call<"add", bool(qvjvm::object)>("Gr\u00fc\u00dfe");
/// int32_t size = list.call<"size", int32_t>();
/// @endcode
///
/// Two ways to name things. With the name as a template argument, as above, classes and methods are looked up once and
/// kept. With the name as an argument, `object.call<int32_t>("size")`, they are looked up at each call; handles.hpp
/// keeps these.
///
/// Errors: functions throw qvjvm::error, and qvjvm::java_error for Java's exceptions; those whose names begin with try_
/// hand back a qvjvm::result instead and work without exceptions in the build. No Java exception stays pending.
/// Mistakes in types are errors of the compiler where it can know them, else of the call, before anything happens.
///
/// Threads: a qvjvm::jvm, a qvjvm::global and the handles may be used on any thread, also on several at once. Objects,
/// class_refs, thread_jvms and frames belong to the thread that got them. A thread joins the JVM at its first use and
/// leaves it when it ends; it then has no context class loader, which some libraries (JNDI, JAXP) ask for.
///
/// Lifetime: what is lasting (jvm, global, handles, failures) keeps the service object; objects do not.
#pragma once

#include <windows.h>

#include "qvjvm/client/buffer.hpp"
#include "qvjvm/client/collections.hpp"
#include "qvjvm/client/handles.hpp"
#include "qvjvm/client/options.hpp"

namespace qvjvm {

namespace detail {

/// What a jvm and a thread_jvm can both do.
template <class Self>
class entry {
 public:
  /// A class by its JNI name, "java/lang/String". In a joined JVM the service's own class path is searched second.
  /// @throws qvjvm::error when there is no such class.
  [[nodiscard]] class_ref find_class(const char* name) const { return value_of(find(name)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<class_ref> try_find_class(const char* name) const { return result<class_ref>(find(name)); }

  /// A new object of the class, from the constructor with the arguments' types: create<"java/util/ArrayList">(). The
  /// class and the constructor are looked up once.
  /// @throws qvjvm::error when there is no such class or constructor, java_error when it raised an exception.
  template <fixed_text Class, class... Arguments>
  [[nodiscard]] instance<Class> create(const Arguments&... values) const {
    return instance<Class>::create(self(), values...);
  }
  /// The same with a result instead of an exception.
  template <fixed_text Class, class... Arguments>
  [[nodiscard]] result<instance<Class>> try_create(const Arguments&... values) const {
    return instance<Class>::try_create(self(), values...);
  }
  /// Calls a static method; see instance::call_static.
  template <fixed_text Class, fixed_text Name, class Form = void, class... Arguments>
  auto call_static(const Arguments&... values) const {
    return instance<Class>::template call_static<Name, Form>(self(), values...);
  }
  /// The same with a result instead of an exception.
  template <fixed_text Class, fixed_text Name, class Form = void, class... Arguments>
  auto try_call_static(const Arguments&... values) const {
    return instance<Class>::template try_call_static<Name, Form>(self(), values...);
  }

  /// The object of a JNI reference of any kind, the argument of a native method for one; the reference stays the
  /// caller's.
  /// @throws qvjvm::error without memory in Java.
  [[nodiscard]] object object_of(void* reference) const { return value_of(refer_to(reference)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<object> try_object_of(void* reference) const { return result<object>(refer_to(reference)); }

  /// A new Java string. As an argument it is an Object; text itself is a String.
  /// @throws qvjvm::error without memory in Java.
  template <class Text>
  [[nodiscard]] object new_string(const Text& text) const {
    return value_of(make_string(text));
  }
  /// The same with a result instead of an exception.
  template <class Text>
  [[nodiscard]] result<object> try_new_string(const Text& text) const {
    return result<object>(make_string(text));
  }

  /// The calling thread's JNIEnv*, for JNI by hand. No exception may stay pending after it.
  /// @throws qvjvm::error when the thread cannot be joined.
  [[nodiscard]] qv_jnienv env() const { return value_of(enter_from(self())).env; }

 private:
  friend Self;
  entry() = default;

  [[nodiscard]] const Self& self() const noexcept { return static_cast<const Self&>(*this); }

  [[nodiscard]] outcome<class_ref> find(const char* name) const {
    if (name == nullptr) return failed<class_ref>(invalid(L"the class has no name"));
    const auto java = enter_from(self());
    if (java.why != nullptr) [[unlikely]]
      return failed<class_ref>(java.why);
    void* const found = load_class(java.value, name);
    if (found == nullptr) [[unlikely]]
      return failed<class_ref>(take_exception(java.value));
    return {nullptr, class_ref(local(java.value, found))};
  }

  [[nodiscard]] outcome<object> refer_to(void* reference) const {
    const auto java = enter_from(self());
    if (java.why != nullptr) return failed<object>(java.why);
    if (reference == nullptr) return {};
    void* const here = invoke<void*>(java.value.env, place::new_local_ref, 0, reference);
    if (here == nullptr) return failed<object>(new_failure(QV_E_OUTOFMEMORY, L"no memory in Java"));
    return {nullptr, object(local(java.value, here))};
  }

  template <class Text>
  outcome<object> make_string(const Text& text) const {
    const auto java = enter_from(self());
    if (java.why != nullptr) [[unlikely]]
      return failed<object>(java.why);
    const passed made = argument_type<Text>::pass(java.value, text);
    if (made.why != nullptr) [[unlikely]]
      return failed<object>(made.why);
    return {nullptr, object(local(java.value, made.reference))};
  }
};

/// Looks up what a realm keeps from its beginning; why not, else null.
inline failure_record* fill_roots(const context& java) {
  const qv_jnienv env = java.env;
  root_classes roots;
  bool whole = true;
  const auto cls = [&](const char* name) -> void* {
    const scoped_local found(env, whole ? invoke<void*>(env, place::find_class, 0, name) : nullptr);
    void* const global = found.get() == nullptr ? nullptr : invoke<void*>(env, place::new_global_ref, 0, found.get());
    whole = global != nullptr && java.home->keep(name, global);
    return global;
  };
  const auto method = [&](void* of, const char* name, const char* type, member kind = member::method) -> method_id {
    const method_id id = whole ? look_up(env, kind, of, name, type) : nullptr;
    whole = id != nullptr;
    return id;
  };
  constexpr const char* text = "()Ljava/lang/String;";
  roots.cls = cls("java/lang/Class");
  roots.throwable = cls("java/lang/Throwable");
  roots.out_of_memory = cls("java/lang/OutOfMemoryError");
  roots.stack_overflow = cls("java/lang/StackOverflowError");
  roots.initializer_error = cls("java/lang/ExceptionInInitializerError");
  roots.to_string = method(roots.throwable, "toString", text);
  roots.get_message = method(roots.throwable, "getMessage", text);
  roots.get_cause = method(roots.throwable, "getCause", "()Ljava/lang/Throwable;");
  roots.get_name = method(roots.cls, "getName", text);
  roots.for_name = method(roots.cls, "forName", "(Ljava/lang/String;ZLjava/lang/ClassLoader;)Ljava/lang/Class;",
                          member::static_method);
  if (!whole) {
    clear_exception(env);
    return new_failure(QV_E_FAIL, L"Java has no memory, or not the classes that every Java has");
  }
  java.home->set_roots(roots);
  int32_t created = 0;
  java.home->vm()->IsJVMCreated(&created);
  java.home->set_joined(created == 0);
  return nullptr;
}

/// A realm over a service object, whose count is taken over, and a class loader, a global reference or null.
inline outcome<realm_user> open_realm(IQV_JavaVM* vm, void* loader) {
  realm_user home(realm::make(vm, loader));
  if (!home) {
    if (loader != nullptr) vm->DeleteGlobalRef(loader);
    vm->Release();
    return failed<realm_user>(new_failure(QV_E_OUTOFMEMORY, L"no memory"));
  }
  const auto java = enter(home);
  failure_record* const why = java.why != nullptr ? java.why : fill_roots(java.value);
  if (why != nullptr) return failed<realm_user>(why);
  return {nullptr, std::move(home)};
}

}  // namespace detail

/// The Java VM on the calling thread, which it must stay on: like a jvm, but without asking for the thread at each
/// call.
class thread_jvm : public detail::entry<thread_jvm> {
 public:
  /// See jvm::on_this_thread.
  thread_jvm(detail::realm_user home, qv_jnienv env) noexcept : home_(std::move(home)), env_(env) {}
  /// Empty; using it is an error.
  thread_jvm() = default;

  /// The context of the calling thread. For the client itself.
  friend detail::outcome<detail::context> enter_from(const thread_jvm& where) noexcept {
    if (!where.home_) [[unlikely]]
      return {detail::invalid(L"this qvjvm handle is empty"), {}};
#if QVJVM_CHECKED
    if (detail::thread_env(where.home_.get()) != where.env_) {
      return {detail::invalid(L"a thread_jvm was used on another thread than its own"), {}};
    }
#endif
    return {detail::left_pending(where.env_), {where.home_.get(), where.env_}};
  }

 private:
  detail::realm_user home_;
  qv_jnienv env_ = nullptr;
};

class starting_jvm;

/// The process's Java VM, through a service object of its own. Copies share that object; move it or copy it freely.
class jvm : public detail::entry<jvm> {
 public:
  /// Loads the service, starts the JVM or joins the one that runs.
  /// @param class_path  an extra class path, used only by the call that creates the JVM; see class_path_ignored.
  /// @param library     the service's DLL, which stays loaded; a plain name is looked for where Windows looks for DLLs,
  ///                    and beside a path what the DLL itself needs.
  /// @throws qvjvm::error when the DLL cannot be loaded or there is no Java VM to be had.
  [[nodiscard]] static jvm start(const wchar_t* class_path = nullptr, const wchar_t* library = L"qvjvm.dll") {
    return detail::value_of(open(class_path, library));
  }
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<jvm> try_start(const wchar_t* class_path = nullptr,
                                             const wchar_t* library = L"qvjvm.dll") {
    return result<jvm>(open(class_path, library));
  }
  /// The same with options of the application's own; in a JVM that runs already they come too late, see ignored.
  /// While it runs, no other thread may start the service.
  /// @throws qvjvm::error as above, for a runtime, folder or option that cannot be, and when the host library has no
  ///         settings of an application, which everything but the class path and the log needs.
  [[nodiscard]] static jvm start(const options& asked) { return detail::value_of(open(asked)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<jvm> try_start(const options& asked) { return result<jvm>(open(asked)); }
  /// The same on a thread of its own, while the host does other work; see starting_jvm. When a JVM runs already it is
  /// joined at once. Until Java is there no other thread may start the service, use JAVA_HOME or change PATH. Not from
  /// a DLL's notification (DllMain). Throws nothing but std::bad_alloc.
  [[nodiscard]] static starting_jvm start_async(const options& asked = {});
  /// A client over a service object that the host has already; it takes a count of its own.
  /// @throws qvjvm::error for null, or when the calling thread cannot be joined.
  [[nodiscard]] static jvm share(IQV_JavaVM* vm) { return detail::value_of(open_shared(vm)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<jvm> try_share(IQV_JavaVM* vm) { return result<jvm>(open_shared(vm)); }

  /// Empty; using it is an error. So is one that was moved from.
  jvm() = default;

  /// The same Java VM with classes that are looked up through a class loader, a java.lang.ClassLoader. What comes from
  /// it, and typed objects made with it, belong to that loader's classes.
  /// @throws qvjvm::error for null or anything else.
  [[nodiscard]] jvm with_loader(const object& loader) const { return detail::value_of(open_loader(loader)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<jvm> try_with_loader(const object& loader) const { return result<jvm>(open_loader(loader)); }

  /// The Java VM for the calling thread alone, for many calls in a row.
  /// @throws qvjvm::error when the thread cannot be joined.
  [[nodiscard]] thread_jvm on_this_thread() const { return detail::value_of(join_thread()); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<thread_jvm> try_on_this_thread() const { return result<thread_jvm>(join_thread()); }

  /// The service object, which stays this object's; null when this one is empty.
  [[nodiscard]] IQV_JavaVM* get() const noexcept { return home_ ? home_.get()->vm() : nullptr; }
  /// Whether the JVM had been created before and start's class path came too late.
  [[nodiscard]] bool class_path_ignored() const noexcept { return class_path_ignored_; }
  /// What start's options asked for too late, because a JVM ran in the process already: the names of their functions,
  /// "heap" and so on; the log and the context class loader never are among them.
  [[nodiscard]] std::vector<std::string_view> ignored() const {
    constexpr std::pair<uint32_t, std::string_view> names[] = {
        {QV_IGNORED_HEAP, "heap"},         {QV_IGNORED_OPTIONS, "option"},        {QV_IGNORED_PROPERTIES, "property"},
        {QV_IGNORED_COMPILED, "compiled"}, {QV_IGNORED_CLASS_PATH, "class_path"}, {QV_IGNORED_RUNTIME, "runtime"}};
    std::vector<std::string_view> all;
    for (const auto& [bit, name] : names) {
      if ((ignored_ & bit) != 0) all.push_back(name);
    }
    return all;
  }
  /// Gives the calling thread a context class loader, which some libraries (JNDI, JAXP) ask for and a thread that
  /// joined the JVM has not: Java's own. One that it has already stays.
  /// @throws qvjvm::error when the thread cannot be joined, java_error without memory in Java.
  void use_context_class_loader() const { detail::value_of(give_context_class_loader()); }
  /// Whether the service created the JVM; false when it joined one.
  [[nodiscard]] bool created() const {
    int32_t created = 0;
    need()->IsJVMCreated(&created);
    return created != 0;
  }

  /// The Java version that runs, "17.0.9". Only for a JVM that the service created.
  [[nodiscard]] std::wstring java_version() const { return text(&IQV_JavaVM::GetJavaVersion, L"no java.version"); }
  /// The class path of a created JVM, or the service's own in a joined one.
  [[nodiscard]] std::wstring class_path() const { return text(&IQV_JavaVM::GetClassPath, L"no class path"); }
  /// Where the JVM's own output goes.
  [[nodiscard]] std::wstring log_file() const { return text(&IQV_JavaVM::GetLogFileName, L"no log file"); }
  /// Sends the JVM's output to another file, which begins anew. For the whole process.
  void set_log_file(const wchar_t* path) const { need()->SetLogFileName(path); }
  /// Drops or logs the JVM's output. For the whole process.
  void set_log_enabled(bool enabled) const { need()->SetJvmLogEnabled(enabled ? 1 : 0); }

  /// The context of the calling thread. For the client itself.
  friend detail::outcome<detail::context> enter_from(const jvm& where) noexcept { return detail::enter(where.home_); }

 private:
  friend class starting_jvm;
  using text_operation = int32_t (IQV_JavaVM::*)(IQvString**) noexcept;

  static detail::outcome<jvm> open(const wchar_t* class_path, const wchar_t* library) {
    if (library == nullptr) return detail::failed<jvm>(detail::invalid(L"the service's DLL has no name"));
    const HMODULE service = qv_load_service(library);
    if (service == nullptr) {
      const DWORD error = GetLastError();
      return fail(static_cast<int32_t>(error),
                  std::wstring(L"cannot load ") + library + L", Windows error " + std::to_wstring(error));
    }
    const auto create =
        reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")));
    if (create == nullptr) return fail(QV_E_FAIL, std::wstring(library) + L" is not the Java VM Service");
    IQV_JavaVM* vm = nullptr;
    const int32_t status = create(&vm, class_path);
    if (status < 0) {
      qv_text why{};
      qv_explain(&why);
      auto failed = fail(status, qv_text_of(&why));
      qv_text_free(&why);
      return failed;
    }
    return wrap(vm, nullptr, status == QV_S_CLASSPATH_IGNORED);
  }

  static detail::outcome<jvm> open(const options& asked) {
    IQV_JavaVM* vm = nullptr;
    uint32_t ignored = 0;
    std::vector<wchar_t> why(32768);
    const int32_t status = asked.start(&vm, &ignored, why.data(), static_cast<int32_t>(why.size()));
    if (status < 0) return fail(status, why.data());
    detail::outcome<jvm> made = wrap(vm, nullptr, (ignored & QV_IGNORED_CLASS_PATH) != 0);
    if (made.why != nullptr) return made;
    made.value.ignored_ = ignored;
    if (asked.context_class_loader_) {
      const detail::outcome<void> given = made.value.give_context_class_loader();
      if (given.why != nullptr) return detail::failed<jvm>(given.why);
    }
    return made;
  }

  [[nodiscard]] detail::outcome<void> give_context_class_loader() const {
    using thread = instance<"java/lang/Thread">;
    using class_loader = instance<"java/lang/ClassLoader">;
    const auto failed = [](const failure& reason) { return detail::failed<void>(reason); };
    const auto here = thread::try_call_static<"currentThread", thread>(*this);
    if (!here) return failed(here.reason());
    const auto has = here.value().template try_call<"getContextClassLoader", class_loader>();
    if (!has) return failed(has.reason());
    if (has.value()) return {};
    const auto own = class_loader::try_call_static<"getSystemClassLoader", class_loader>(*this);
    if (!own) return failed(own.reason());
    const auto done = here.value().template try_call<"setContextClassLoader", void(class_loader)>(own.value());
    return done ? detail::outcome<void>{} : failed(done.reason());
  }

  static detail::outcome<jvm> open_shared(IQV_JavaVM* vm) {
    if (vm == nullptr) return detail::failed<jvm>(detail::invalid(L"no service object"));
    vm->AddRef();
    return wrap(vm, nullptr, false);
  }

  [[nodiscard]] detail::outcome<jvm> open_loader(const object& loader) const {
    const auto java = enter_from(*this);
    if (java.why != nullptr) return detail::failed<jvm>(java.why);
    if (auto* const why = loader.misuse()) return detail::failed<jvm>(why);
    if (auto* const why = detail::verify_result(java.value, loader.get(), "Ljava/lang/ClassLoader;")) {
      return detail::failed<jvm>(why);
    }
    void* const global = detail::invoke<void*>(java.value.env, detail::place::new_global_ref, 0, loader.get());
    if (global == nullptr) return fail(QV_E_OUTOFMEMORY, L"no memory for a global reference");
    get()->AddRef();
    return wrap(get(), global, class_path_ignored_);
  }

  static detail::outcome<jvm> wrap(IQV_JavaVM* vm, void* loader, bool class_path_ignored) {
    auto home = detail::open_realm(vm, loader);
    if (home.why != nullptr) return detail::failed<jvm>(home.why);
    detail::outcome<jvm> made;
    made.value.home_ = std::move(home.value);
    made.value.class_path_ignored_ = class_path_ignored;
    return made;
  }

  static detail::outcome<jvm> fail(int32_t status, std::wstring_view text) {
    return detail::failed<jvm>(detail::new_failure(status, text));
  }

  [[nodiscard]] detail::outcome<thread_jvm> join_thread() const {
    const auto java = enter_from(*this);
    if (java.why != nullptr) return detail::failed<thread_jvm>(java.why);
    return {nullptr, thread_jvm(home_, java.value.env)};
  }

  [[nodiscard]] IQV_JavaVM* need() const {
    if (!home_) detail::raise(detail::invalid(L"this qvjvm::jvm is empty"));
    return get();
  }

  std::wstring text(text_operation operation, const wchar_t* missing) const {
    IQvString* text = nullptr;
    const int32_t status = (need()->*operation)(&text);
    if (status < 0 || text == nullptr) detail::raise(detail::new_failure(status, missing));
    std::wstring copy = text->GetText();
    text->Release();
    return copy;
  }

  detail::realm_user home_;
  bool class_path_ignored_ = false;
  uint32_t ignored_ = 0;
};

/// Java that starts beside the host's own work, from jvm::start_async. Copies share it, and any thread may use it, also
/// several at once. The thread that asked for it may end. Dropping it waits for nothing and stops nothing: Java starts
/// all the same. A process may end meanwhile.
///
/// The thread that has made the JVM sleeps until the process ends; in Java it is "main". A DLL that starts Java like
/// this stays loaded.
class starting_jvm {
 public:
  /// Empty; get fails. So is one that was moved from.
  starting_jvm() = default;
  /// Shares it.
  starting_jvm(const starting_jvm& other) noexcept : state_(other.state_) {
    if (state_ != nullptr) state_->users.fetch_add(1, std::memory_order_relaxed);
  }
  /// Leaves an empty one behind.
  starting_jvm(starting_jvm&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}
  /// Shares or takes over the other one.
  starting_jvm& operator=(starting_jvm other) noexcept {
    std::swap(state_, other.state_);
    return *this;
  }
  ~starting_jvm() {
    if (state_ != nullptr && state_->users.fetch_sub(1, std::memory_order_acq_rel) == 1) delete state_;
  }

  /// Whether get would wait for nothing, because Java is there or could not be started.
  [[nodiscard]] bool ready() const noexcept {
    return state_ == nullptr || state_->ready.load(std::memory_order_acquire);
  }
  /// Java, as soon as it is there; each call gives the same. With options::context_class_loader the calling thread gets
  /// Java's own loader if it has none.
  /// @throws qvjvm::error what jvm::start throws, at each call; and when the process ends before Java is there.
  [[nodiscard]] jvm get() const { return detail::value_of(wait()); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<jvm> try_get() const { return result<jvm>(wait()); }

 private:
  friend class jvm;

  // What copies and the thread share. The thread, or the caller where there is none, writes it before it is ready.
  struct state {
    explicit state(const options& from) : asked(from), context_class_loader(from.context_class_loader_) {
      asked.context_class_loader_ = false;  // not the thread that starts, but those that get it
    }
    state(const state&) = delete;
    state& operator=(const state&) = delete;
    ~state() {
      for (const HANDLE handle : {done, thread}) {
        if (handle != nullptr) CloseHandle(handle);
      }
    }

    std::atomic<uint32_t> users{1};
    options asked;
    bool context_class_loader;
    HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE thread = nullptr;  // the caller's to set
    std::atomic<bool> ready{false};
    jvm java;
    failure why;
  };

  explicit starting_jvm(state* counted) noexcept : state_(counted) {}

  static starting_jvm begin(const options& asked) {
    starting_jvm begun(new state(asked));
    HMODULE self = nullptr;
    const auto* const here = reinterpret_cast<const wchar_t*>(&on_its_thread);
    if (begun.state_->done != nullptr && !qv_jvm_runs() &&
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN, here, &self)) {
      starting_jvm of_thread(begun);
      begun.state_->thread = CreateThread(nullptr, 0, &on_its_thread, of_thread.state_, 0, nullptr);
      if (begun.state_->thread != nullptr) of_thread.state_ = nullptr;  // the thread has it
    }
    if (begun.state_->thread == nullptr) begun.start();
    return begun;
  }

  static DWORD WINAPI on_its_thread(void* shared) noexcept {
    bool created = false;
    {
      const starting_jvm mine(static_cast<state*>(shared));
      mine.start();
      created = mine.state_->java.get() != nullptr && mine.state_->java.created();
    }
    // A thread that ends leaves the JVM. Under Wine it can then wait for ever for a JVM that has just begun to start
    // threads of its own; and nothing is gained by it.
    while (created) Sleep(INFINITE);
    return 0;
  }

  void start() const noexcept {
#if QVJVM_EXCEPTIONS
    try {
      open();
    } catch (const std::exception&) {
      state_->why = failure(&detail::no_memory_for_a_record);
    }
#else
    open();
#endif
    state_->ready.store(true, std::memory_order_release);
    if (state_->done != nullptr) SetEvent(state_->done);
  }
  void open() const {
    detail::outcome<jvm> made = jvm::open(state_->asked);
    state_->why = failure(made.why);
    state_->java = std::move(made.value);
  }

  [[nodiscard]] detail::outcome<jvm> wait() const {
    if (state_ == nullptr) return jvm::fail(QV_E_INVALIDARG, L"this qvjvm::starting_jvm is empty");
    if (!ready()) {
      // While the process ends other threads are gone, and nobody would ever say that it is done.
      const HANDLE either[] = {state_->done, state_->thread};
      WaitForMultipleObjects(2, either, FALSE, INFINITE);
      if (!ready()) return jvm::fail(QV_E_FAIL, L"the thread that starts Java is gone, because the process ends");
    }
    if (state_->why) return detail::failed<jvm>(state_->why);
    if (state_->context_class_loader) {
      const detail::outcome<void> given = state_->java.give_context_class_loader();
      if (given.why != nullptr) return detail::failed<jvm>(given.why);
    }
    return {nullptr, state_->java};
  }

  state* state_ = nullptr;
};

/// The version of the service that is there at run time, as QVJVM_VERSION has it: 10203 is 1.2.3. It is loaded for that
/// and stays so. 0 when it cannot be loaded, and for a library that says no version.
[[nodiscard]] inline int32_t service_version(const wchar_t* library = L"qvjvm.dll") noexcept {
  return qv_module_version(qv_load_service(library));
}

inline starting_jvm jvm::start_async(const options& asked) { return starting_jvm::begin(asked); }

/// Frees every local reference that the thread makes during its life, those of the service's own operations too. For
/// loops on threads that live long. References made inside must not be used after it; failures and errors may.
class frame {
 public:
  /// @param where     the Java VM, or the thread's
  /// @param capacity  how many references are expected; there may be more
  /// @throws qvjvm::error without memory in Java.
  template <detail::origin Where>
  explicit frame(const Where& where, int32_t capacity = 16) {
    const auto java = detail::value_of(enter_from(where));
    if (detail::invoke<int32_t>(java.env, detail::place::push_local_frame, 0, capacity) < 0) {
      detail::raise(detail::take_exception(java));
    }
    env_ = java.env;
  }
  ~frame() {
    if (env_ != nullptr) {
      detail::invoke<void*>(env_, detail::place::pop_local_frame, 0, static_cast<void*>(nullptr));
    }
  }
  frame(const frame&) = delete;
  frame& operator=(const frame&) = delete;

 private:
  qv_jnienv env_ = nullptr;
};

}  // namespace qvjvm
