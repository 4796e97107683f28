// Names match without case, as registry names do, so "QVJVMConfig" answers for "QVJVMconfig".
#include "store/default_tree.h"

namespace qv {

namespace {

constexpr DefaultConfigRecord OpenKey(const wchar_t* name) { return {kOpenKey, name, nullptr, {}}; }
constexpr DefaultConfigRecord Value(const wchar_t* name, const wchar_t* value) {
  return {kStringValue, name, value, {}};
}
constexpr DefaultConfigRecord kClose = {kCloseKey, nullptr, nullptr, {}};
constexpr DefaultConfigRecord kEnd = {kEndOfTable, nullptr, nullptr, {}};

}  // namespace

const DefaultConfigRecord g_DefaultConfigTree[kDefaultConfigRecords] = {
    OpenKey(L"ROOT"),
    OpenKey(L"Java"),
    OpenKey(L"QVRTConfig"),
    OpenKey(L"QVSysclasspath"),
    Value(L"Count", L"10"),
    Value(L"0", L"\\fop-0.20.5\\build\\fop.jar"),
    Value(L"1", L"\\fop-0.20.5\\lib\\batik.jar"),
    Value(L"2", L"\\fop-0.20.5\\lib\\xalan-2.4.1.jar"),
    Value(L"3", L"\\fop-0.20.5\\lib\\xercesImpl-2.2.1.jar"),
    Value(L"4", L"\\fop-0.20.5\\lib\\xml-apis.jar"),
    Value(L"5", L"\\fop-0.20.5\\lib\\avalon-framework-cvs-20020806.jar"),
    Value(L"6", L"\\fop-0.20.5\\lib\\logkit-1.0.jar"),
    Value(L"7", L"\\fop-0.20.5\\lib\\jimi-1.0.jar"),
    Value(L"8", L"\\qvejbclient.jar"),
    Value(L"9", L"\\qvjdbc12.jar"),
    kClose,
    // Deliberate: spelled with a capital C here and "QVJVMconfig" where it is opened.
    OpenKey(L"QVJVMConfig"),
    Value(L"Count", L"2"),
    Value(L"0", L"-Xmx128m"),
    Value(L"1", L"-verbose:jni"),
    kClose,
    OpenKey(L"QVJVMprops"),
    Value(L"java.compiler", L"NONE"),
    kClose,
    kClose,
    kClose,
    kClose,
    kEnd,
};

}  // namespace qv
