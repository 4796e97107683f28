// A DLL whose functions Java calls goes, and Java still has its objects.
#include "tests/client/client_fixture.h"
#include "tests/client/client_library.h"

namespace qvtest {
namespace {

using ClientUnload = ClientTest;
using Runnable = qvjvm::instance<"java/lang/Runnable">;
using Threads = qvjvm::array<qvjvm::instance<"java/lang/Thread">>;
using Callbacks = qvjvm::instance<"client/Callbacks">;

template <class Function>
Function Find(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// In C++ and in C, in turn.
TEST_F(ClientUnload, AClosedLibraryIsUnloadedWhileJavaCallsItsObjects) {
  for (int round = 0; round < 8; ++round) {
    const wchar_t* const name = round % 2 == 0 ? L"client_library.dll" : L"client_c_library.dll";
    const HMODULE library = LoadLibraryW((ProgramFolder() + L"\\" + name).c_str());
    ASSERT_NE(library, nullptr);
    const auto list = java.create<"java/util/ArrayList">();
    ASSERT_EQ(Find<GiveRunnableFn>(library, "GiveRunnable")(java.get(), list.get()), 0);
    const auto object = list.call<"get", qvjvm::object>(0).as<Runnable>();
    // The exception is of another module's class, so it is Java's here.
    const auto failed = object.try_call<"run">();
    EXPECT_EQ(failed.reason().message(), L"qvjvm.HostException: of the library");
    EXPECT_FALSE(failed.reason().host_exception());

    const auto callers = Callbacks::call_static<"callUntilRefused", Threads(Runnable, int32_t)>(java, object, 4);
    const auto count = Find<CountCallsFn>(library, "CountCalls");
    while (count() < 1000) Sleep(1);
    EXPECT_EQ(Find<CloseLibraryFn>(library, "CloseLibrary")(), 1);
    EXPECT_TRUE(FreeLibrary(library));
    EXPECT_EQ(GetModuleHandleW(name), nullptr);
    EXPECT_EQ(object.try_call<"run">().reason().exception().class_name(), L"java.lang.IllegalStateException");
    Callbacks::call_static<"join", void(Threads)>(java, callers);
  }
}

}  // namespace
}  // namespace qvtest
