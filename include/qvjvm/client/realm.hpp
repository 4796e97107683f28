/// @file
/// What the handles of one qvjvm::jvm share: the service object, the class loader that classes are looked up through,
/// and the classes, methods and fields that were looked up once.
///
/// A compile-time name, `call<"size", int32_t>()` of an `instance<"java/util/List">`, is a site. Each site has a
/// number, and a realm has a place for each number, so that the id is one load away and belongs to the realm's own
/// class loader.
#pragma once

#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "qvjvm/client/jni_table.hpp"
#include "qvjvm/client/signature.hpp"

#if !defined(QVJVM_CHECKED)
/// 1 checks what costs calls of its own: the thread of an object, the class of a resolved method's object, the class of
/// results whose method promises it, an exception that the host's own JNI left pending.
#if defined(NDEBUG)
#define QVJVM_CHECKED 0
#else
#define QVJVM_CHECKED 1
#endif
#endif

#if defined(_MSC_VER) && !defined(__clang__)
#define QVJVM_COLD __declspec(noinline)
#define QVJVM_HOT __forceinline
#else
/// Marks what is never on a fast path.
#define QVJVM_COLD __attribute__((noinline, cold))
/// Marks what every call goes through; a compiler that keeps it apart makes each call some per cent dearer.
#define QVJVM_HOT __attribute__((always_inline)) inline
#endif

namespace qvjvm::detail {

/// How many sites this module has; sites take their numbers before main.
inline constinit std::atomic<uint32_t> site_count{0};

inline uint32_t take_site_number() noexcept { return site_count.fetch_add(1, std::memory_order_relaxed) + 1; }

/// Tells this module's realms from those of other modules, whose sites have other numbers.
inline constinit char module_anchor = 0;

enum class member { cls, method, static_method, field, static_field };

/// A compile-time name: a class, or a member of it.
struct site_name {
  member kind;
  const char* cls;   ///< "java/util/List"
  const char* name;  ///< of the member
  const char* type;  ///< its signature
};

template <fixed_text Class, member Kind, fixed_text Name, class Signature>
struct site;

/// A class that was looked up; never taken out again, so the list is read without a lock.
struct kept_class {
  std::string name;  ///< "java/util/List"
  void* global;
  kept_class* next;
};

/// What every realm keeps from its beginning, because it is wanted when Java has no memory to look it up.
struct root_classes {
  void* cls = nullptr;  ///< java.lang.Class; a global reference, as the next ones
  void* throwable = nullptr;
  void* out_of_memory = nullptr;
  void* stack_overflow = nullptr;
  void* initializer_error = nullptr;
  method_id to_string = nullptr;    ///< of Object
  method_id get_message = nullptr;  ///< of Throwable
  method_id get_cause = nullptr;    ///< of Throwable
  method_id get_name = nullptr;     ///< of Class
  method_id for_name = nullptr;     ///< of Class, with a class loader
};

/// See the file's head. Counted; the last owner gives back what it keeps and the service object. Any thread.
class realm {
 public:
  realm(const realm&) = delete;
  realm& operator=(const realm&) = delete;

  /// A new realm with one owner; null without memory. Takes over a count of the service object and the loader, a global
  /// reference or null for the service's own way of looking classes up.
  static realm* make(IQV_JavaVM* vm, void* loader) noexcept {
    const uint32_t places = site_count.load(std::memory_order_relaxed) + 1;
    void* const memory = ::operator new(sizeof(realm) + places * sizeof(std::atomic<void*>), std::nothrow);
    if (memory == nullptr) return nullptr;
    return new (memory) realm(vm, loader, places);
  }

  void add_user() noexcept { users_.fetch_add(1, std::memory_order_relaxed); }
  void drop_user() noexcept {
    if (users_.fetch_sub(1, std::memory_order_acq_rel) == 1) end();
  }

  [[nodiscard]] IQV_JavaVM* vm() const noexcept { return vm_; }
  [[nodiscard]] void* loader() const noexcept { return loader_; }
  /// Whether the service joined a JVM, and so has a class path of its own.
  [[nodiscard]] bool joined() const noexcept { return joined_; }
  void set_joined(bool joined) noexcept { joined_ = joined; }
  [[nodiscard]] const root_classes& roots() const noexcept { return roots_; }
  void set_roots(const root_classes& roots) noexcept { roots_ = roots; }

  /// The place of a site; null when this realm has none for it: a realm of another module, or one made before main.
  /// The number 0 is no site's yet, and its place stays empty.
  [[nodiscard]] std::atomic<void*>* find_place(uint32_t number) noexcept {
    if (number >= places_ || anchor_ != &module_anchor) return nullptr;
    return &first_place()[number];
  }

  /// A class that was kept before, or null.
  [[nodiscard]] void* find(std::string_view name) const noexcept {
    for (const kept_class* kept = classes_.load(std::memory_order_acquire); kept != nullptr; kept = kept->next) {
      if (kept->name == name) return kept->global;
    }
    return nullptr;
  }
  /// Keeps a class, a global reference, until the realm ends. Another thread may have kept it too, which is no harm.
  /// False without memory: the reference is gone then.
  [[nodiscard]] bool keep(std::string name, void* global) noexcept {
    auto* const kept = new (std::nothrow) kept_class{std::move(name), global, nullptr};
    if (kept == nullptr) {
      vm_->DeleteGlobalRef(global);
      return false;
    }
    kept->next = classes_.load(std::memory_order_relaxed);
    while (!classes_.compare_exchange_weak(kept->next, kept, std::memory_order_release, std::memory_order_relaxed)) {
    }
    return true;
  }

 private:
  realm(IQV_JavaVM* vm, void* loader, uint32_t places) noexcept
      : vm_(vm), loader_(loader), anchor_(&module_anchor), places_(places) {
    for (uint32_t i = 0; i < places; ++i) new (&first_place()[i]) std::atomic<void*>(nullptr);
  }
  ~realm() = default;

  std::atomic<void*>* first_place() noexcept { return reinterpret_cast<std::atomic<void*>*>(this + 1); }

  void end() noexcept {
    for (kept_class* kept = classes_.load(std::memory_order_acquire); kept != nullptr;) {
      vm_->DeleteGlobalRef(kept->global);
      delete std::exchange(kept, kept->next);
    }
    if (loader_ != nullptr) vm_->DeleteGlobalRef(loader_);
    vm_->Release();
    this->~realm();
#ifndef __clang_analyzer__  // which does not count the users and takes each for the last
    ::operator delete(static_cast<void*>(this));
#endif
  }

  std::atomic<uint32_t> users_{1};
  IQV_JavaVM* vm_;
  void* loader_;
  const char* anchor_;
  uint32_t places_;
  bool joined_ = false;
  root_classes roots_;
  std::atomic<kept_class*> classes_{nullptr};
};
static_assert(sizeof(realm) % alignof(std::atomic<void*>) == 0);

/// An owner of a realm; null is allowed.
class realm_user {
 public:
  realm_user() = default;
  /// Takes a count over.
  explicit realm_user(realm* counted) noexcept : realm_(counted) {}
  static realm_user share(realm* other) noexcept {
    if (other != nullptr) other->add_user();
    return realm_user(other);
  }
  realm_user(const realm_user& other) noexcept : realm_(other.realm_) {
    if (realm_ != nullptr) realm_->add_user();
  }
  realm_user(realm_user&& other) noexcept : realm_(std::exchange(other.realm_, nullptr)) {}
  realm_user& operator=(realm_user other) noexcept {
    std::swap(realm_, other.realm_);
    return *this;
  }
  ~realm_user() {
    if (realm_ != nullptr) realm_->drop_user();
  }

  [[nodiscard]] realm* get() const noexcept { return realm_; }
  explicit operator bool() const noexcept { return realm_ != nullptr; }

 private:
  realm* realm_ = nullptr;
};

/// What a call needs: where it belongs and the calling thread's environment.
struct context {
  realm* home = nullptr;
  qv_jnienv env = nullptr;
};

/// The calling thread's environment; joins the thread at its first use. Clears no exception.
inline qv_jnienv thread_env(const realm* home) noexcept { return QV_AcquireThreadEnv(home->vm()); }

/// A local reference, deleted at the end of its life. It belongs to the thread that made it.
class local {
 public:
  local() = default;
  local(const context& java, void* reference) noexcept : java_(java), reference_(reference) { hold(); }
  local(local&& other) noexcept : java_(other.java_), reference_(std::exchange(other.reference_, nullptr)) {}
  local& operator=(local&& other) noexcept {
    std::swap(java_, other.java_);
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~local() {
    if (reference_ == nullptr) return;
    if (!foreign()) invoke<void>(java_.env, place::delete_local_ref, 0, reference_);
    let_go();
  }
  local(const local&) = delete;
  local& operator=(const local&) = delete;

  [[nodiscard]] const context& java() const noexcept { return java_; }
  [[nodiscard]] void* get() const noexcept { return reference_; }
  /// The reference, which is the caller's now.
  [[nodiscard]] void* release() noexcept {
    if (reference_ != nullptr) let_go();
    return std::exchange(reference_, nullptr);
  }

  /// Whether this is another thread than the reference's; only checked builds know.
  [[nodiscard]] bool foreign() const noexcept {
#if QVJVM_CHECKED
    return reference_ != nullptr && thread_env(java_.home) != java_.env;
#else
    return false;
#endif
  }

 private:
  // In checked builds a realm lives as long as its last reference, so that a forgotten one can still be asked.
  void hold() const noexcept {
#if QVJVM_CHECKED
    if (reference_ != nullptr) java_.home->add_user();
#endif
  }
  void let_go() const noexcept {
#if QVJVM_CHECKED
    java_.home->drop_user();
#endif
  }

  context java_;
  void* reference_ = nullptr;
};

/// A local reference inside one function of the client, on the thread that is at work.
class scoped_local {
 public:
  scoped_local(qv_jnienv env, void* reference) noexcept : env_(env), reference_(reference) {}
  ~scoped_local() { delete_local(env_, reference_); }
  scoped_local(const scoped_local&) = delete;
  scoped_local& operator=(const scoped_local&) = delete;
  [[nodiscard]] void* get() const noexcept { return reference_; }

 private:
  qv_jnienv env_;
  void* reference_;
};

/// Sets a pending exception aside while the client asks Java something.
class exception_aside {
 public:
  explicit exception_aside(qv_jnienv env) noexcept
      : env_(env), exception_(env, invoke<void*>(env, place::exception_occurred, 0)) {
    if (exception_.get() != nullptr) clear_exception(env);
  }
  ~exception_aside() {
    if (exception_.get() != nullptr) invoke<int32_t>(env_, place::throw_, 0, exception_.get());
  }
  exception_aside(const exception_aside&) = delete;
  exception_aside& operator=(const exception_aside&) = delete;

 private:
  qv_jnienv env_;
  scoped_local exception_;
};

}  // namespace qvjvm::detail
