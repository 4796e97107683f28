// Every key and value name of the configuration, once.
#pragma once

namespace qv::names {

inline constexpr wchar_t kJavaKey[] = L"Java";
inline constexpr wchar_t kJDKLocation[] = L"JDKLocation";
inline constexpr wchar_t kJREBinLocation[] = L"JREBinLocation";

inline constexpr wchar_t kRuntimeConfigKey[] = L"Java\\QVRTConfig";       // the host is not known
inline constexpr wchar_t kDevelopmentConfigKey[] = L"Java\\QVIDEConfig";  // the host is known
inline constexpr wchar_t kClassPathList[] = L"QVSysclasspath";
inline constexpr wchar_t kOptionList[] = L"QVJVMconfig";
inline constexpr wchar_t kPropertyKey[] = L"QVJVMprops";
inline constexpr wchar_t kUserClassPathList[] = L"ClassPath";
inline constexpr wchar_t kCount[] = L"Count";

}  // namespace qv::names
