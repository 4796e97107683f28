// CQV_JVMConfigInfo: the one process-wide record of what the service has learned about its host and its runtime.
// The single instance exists from before the first export can be called until the library unloads.
// g_csConfigLoad guards Load; m_textLock guards the three owned strings, held only to swap or share a reference, and by
// nobody once the process ends.
#pragma once

#include <windows.h>

#include <jni.h>

#include "base/lock.h"
#include "config/decisions.h"
#include "config/folders.h"
#include "config/runtime_choice.h"
#include "host/host_memory.h"
#include "host/host_ref.h"
#include "host/host_text.h"
#include "store/option_plan.h"
#include "store/product.h"

// Serialises Load. Allocated when the module is loaded, never deleted; null without memory.
extern qv::CriticalSection* g_csConfigLoad;

// Finds the handle that start-up recorded for a library name; null when there is none.
using FindLoadedModuleFn = HMODULE (*)(const char* name);

class CQV_JVMConfigInfo {
 public:
  QV_HOST_ALLOCATED

  CQV_JVMConfigInfo() noexcept;
  CQV_JVMConfigInfo(const CQV_JVMConfigInfo&) = delete;
  CQV_JVMConfigInfo& operator=(const CQV_JVMConfigInfo&) = delete;

  // Slot 0: releases the strings; bit 0 of the flag also frees the object's memory.
  virtual void* Destroy(uint32_t deleteFlag) noexcept;
  // Slot 1: recognises the host, names the service and fixes the log path, once. False only when the host
  // executable's path cannot be had; the next call tries again. Threads: any.
  virtual bool Load() noexcept;

  // -- configuration store -- (threads: any; no lock is held across a registry read)

  // Rewrites m_szRegistryRoot, then opens it below the hive. True when the key opened.
  bool OpenRootKey(HKEY hive, uint32_t access, IQvRegKey** key) noexcept;
  // A new string of the caller, written only on success. Once a runtime was found the first value read is kept.
  bool ReadJDKLocation(IQvString** location) noexcept;
  bool ReadJREBinLocation(IQvString** location) noexcept;
  // Always hands out a string, empty on failure (null only without memory).
  bool ReadCountedList(HKEY hive, const wchar_t* subKey, uint32_t access, IQvString** list, bool quiet) noexcept;
  void ReadUserClassPath(IQvString** list) noexcept;
  // True when the variable exists and is not empty.
  bool ReadEnvironmentVariable(const wchar_t* name, IQvString** value) noexcept;
  // A new string of the caller; "vm.out" when no path is stored.
  void GetLogFilePath(IQvString** path) noexcept;
  // Takes over the caller's reference and releases the path held before.
  void SetLogFilePath(IQvString* path) noexcept;

  // -- runtime discovery -- (threads: one at a time)

  // Puts a Java runtime in front of PATH. Deliberate: true also when an unknown host has none anywhere.
  bool LocateJavaRuntime() noexcept;
  // The known host's way: the configured JDK and JRE locations.
  bool PrepareConfiguredPath() noexcept;
  // The folder of the discovered jvm.dll, empty before a discovery. Valid until the next one.
  [[nodiscard]] std::wstring_view DiscoveredJvmFolder() const noexcept { return m_discoveredJvmFolder.View(); }

  // -- start-up arguments --

  bool BuildSystemClassPath(IQvString** classPath) noexcept;
  bool ComposeClassPath(IQvString** classPath) noexcept;
  // Always true; the text needs the module that start-up recorded for "jvm.dll".
  bool BuildBootClassPath(IQvString** option) noexcept;
  // On true the list and its texts are host blocks of the caller; null and 0 when there are no properties.
  bool ReadJVMProperties(wchar_t*** list, int32_t* count) noexcept;
  // On true the array and its texts are host blocks of the caller (qv::FreeOptions); on false nothing is handed out.
  // Null and 0 on entry, as the caller sets them.
  bool BuildJavaVMOptions(JavaVMOption** options, int32_t* count, const wchar_t* threadClassPath) noexcept;

  bool m_bHostKnown = false;
  bool m_bQuovantHost = true;
  bool m_bFresh = true;  // cleared by the first real Load; nothing reads it
  bool m_bLoaded = false;
  bool m_bRuntimeFound = false;
  bool m_bLoomhallHost = false;
  IQvString* m_pJDKLocation QV_GUARDED_BY(m_textLock) = nullptr;
  IQvString* m_pJREBinLocation QV_GUARDED_BY(m_textLock) = nullptr;
  IQvString* m_pLogFilePath QV_GUARDED_BY(m_textLock) = nullptr;
  void* m_pfnVfprintfHook = nullptr;
  void* m_pfnExitHook = nullptr;
  wchar_t m_szRegistryRoot[qv::kRegistryRootCapacity];
  wchar_t m_szServiceName[30];
  bool m_bDebugMode = true;

  FindLoadedModuleFn m_pfnFindLoadedModule = nullptr;
  qv::DecisionListener* m_pListener = &qv::ServiceListener();  // never null

 protected:
  ~CQV_JVMConfigInfo();

 private:
  // One of the three strings; what has one takes the lock itself.
  using OwnedText = IQvString* CQV_JVMConfigInfo::*;

  // Gives the host's path in lower case.
  bool LoadLocked(wchar_t (&hostPath)[qv::kPathUnits]) noexcept QV_REQUIRES(*g_csConfigLoad);
  // A reference of the caller's own.
  qv::StringRef HeldText(OwnedText held) noexcept;
  void ChooseRegistryRoot() noexcept;
  // What the two locations and their out-parameters share. `value` is empty when the host library found no text.
  bool FindLocation(const wchar_t* valueName, OwnedText kept, qv::StringRef& value) noexcept;
  bool HandOutLocation(const wchar_t* valueName, OwnedText kept, IQvString** location) noexcept;
  // False when something is missing, which the listener hears of unless `quiet`, or without memory.
  bool JoinCountedList(HKEY hive, const wchar_t* subKey, uint32_t access, bool quiet, qv::HostText& joined) noexcept;
  bool AppendSystemClassPath(qv::HostText& path) noexcept;
  qv::HostText WholeClassPath() noexcept;
  qv::HostText BootClassPath() const noexcept;
  bool OpenList(const wchar_t* name, qv::CountProbe probe, qv::ConfiguredKey& list) noexcept;
  // Puts the runtime in front of PATH and makes it the one in use.
  qv::Discovery TakeRuntime(qv::HostText folder, std::wstring_view oldPath) noexcept;
  qv::Discovery UseRuntimeBelow(qv::RuntimeSource source, std::wstring_view home,
                                std::span<const std::wstring_view> subFolders, std::wstring_view oldPath) noexcept;
  // The one that JAVA_HOME names, or else the registry.
  qv::Discovery UseCurrentRuntime(std::wstring_view oldPath) noexcept;

  qv::SlimLock m_textLock;
  qv::HostText m_discoveredJvmFolder;
};

// The single instance.
CQV_JVMConfigInfo& JVMConfigInfo() noexcept;

// The service's own module file name, "qvjvm.dll"; its folder is the installation.
extern wchar_t g_szJvmModuleName[16];
