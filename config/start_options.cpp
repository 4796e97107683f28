// Collects what the JVM is started with and has the option array built from it.
#include "config/folders.h"
#include "config/jvm_config_info.h"
#include "store/boot_class_path.h"
#include "store/config_store.h"
#include "store/counted_list.h"
#include "store/names.h"

qv::HostText CQV_JVMConfigInfo::BootClassPath() const noexcept {
  qv::ModuleFolder jvm;
  const HMODULE module = m_pfnFindLoadedModule != nullptr ? m_pfnFindLoadedModule("jvm.dll") : nullptr;
  if (module != nullptr) (void)jvm.TryFind(module);
  return qv::BootClassPathOption(jvm.Text());
}

bool CQV_JVMConfigInfo::BuildBootClassPath(IQvString** option) noexcept {
  *option = BootClassPath().ToString().Detach();
  return true;
}

bool CQV_JVMConfigInfo::OpenList(const wchar_t* name, qv::CountProbe probe, qv::ConfiguredKey& list) noexcept {
  if (!qv::OpenConfiguredKey(m_bHostKnown, m_szRegistryRoot, name, probe, list)) return false;
  m_pListener->OnListKey(name, list.origin);
  return true;
}

namespace {

// Appends the key's properties as option texts. False without memory.
bool CollectProperties(IQvRegKey& key, int32_t count, wchar_t** texts) noexcept {
  for (int32_t i = 0; i < count; ++i) {
    qv::StringRef name;
    qv::StringRef value;
    // A value that is gone since it was counted is an empty one.
    const bool read = key.EnumValue(i, name.Out(), value.Out()) != QV_E_OUTOFMEMORY;
    texts[i] = read ? qv::PropertyOption(qv::TextOf(name), qv::TextOf(value)).DetachBlock().release() : nullptr;
    if (texts[i] == nullptr) {
      while (i > 0) QvshrFree(texts[--i]);
      return false;
    }
  }
  return true;
}

// How many values the key has, -1 without memory.
int32_t CountValues(IQvRegKey& key) noexcept {
  int32_t count = 0;
  for (; count < std::numeric_limits<int32_t>::max(); ++count) {
    qv::StringRef name;
    qv::StringRef value;
    const int32_t status = key.EnumValue(count, name.Out(), value.Out());
    if (status == QV_E_OUTOFMEMORY) return -1;
    if (status < 0) break;
  }
  return count;
}

}  // namespace

bool CQV_JVMConfigInfo::ReadJVMProperties(wchar_t*** list, int32_t* count) noexcept {
  *list = nullptr;
  *count = 0;
  ChooseRegistryRoot();
  qv::ConfiguredKey properties;
  if (!OpenList(qv::names::kPropertyKey, qv::CountProbe::No, properties)) return false;
  const int32_t found = CountValues(*properties.key);
  if (found <= 0) return found == 0;
  qv::HostPtr<wchar_t*> texts(qv::AllocHostArray<wchar_t*>(static_cast<size_t>(found)).release());
  if (!texts || !CollectProperties(*properties.key, found, texts.get())) return false;
  *list = texts.release();
  *count = found;
  return true;
}

bool CQV_JVMConfigInfo::BuildJavaVMOptions(JavaVMOption** options, int32_t* count,
                                           const wchar_t* threadClassPath) noexcept {
  const qv::HostText bootClassPath = BootClassPath();
  const qv::HostText classPath = WholeClassPath();
  if (!classPath.Ok()) return false;

  wchar_t** propertyList = nullptr;
  int32_t propertyCount = 0;
  if (!ReadJVMProperties(&propertyList, &propertyCount)) return false;
  const qv::PropertyTexts properties(propertyList, propertyCount);

  qv::ConfiguredKey configured;
  if (!OpenList(qv::names::kOptionList, qv::CountProbe::Required, configured)) return false;
  qv::StringRef configuredCount;
  if (qv::QueryValue(*configured.key, qv::names::kCount, configuredCount) < 0) return false;
  if (!bootClassPath.Ok()) return false;

  const qv::OptionSources sources{
      .threadClassPath = threadClassPath != nullptr ? threadClassPath : L"",
      .classPath = classPath.View(),
      .bootClassPathOption = bootClassPath.View(),
      .vfprintfHook = m_pfnVfprintfHook,
      .exitHook = m_pfnExitHook,
      .configuredCount = configuredCount ? qv::CountFromText(configuredCount->GetText()) : 0,
      .properties = &properties,
  };
  m_pListener->OnConfiguredOptions(sources.configuredCount);
  const auto readConfigured = [&](int32_t index, qv::StringRef& text) {
    return qv::QueryValue(*configured.key, qv::IndexName(index).Text(), text) == 0;
  };
  return qv::BuildOptionArray(sources, readConfigured, options, count);
}
