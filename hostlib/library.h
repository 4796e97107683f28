// What the library learns once, while it is being attached.
#pragma once

namespace qvshr {

/// Works out the full path of qvshr.ini beside the host executable; without one every setting is absent.
void FindSettings() noexcept;
/// That path, empty when there is none. Never changes after the library was attached.
const wchar_t* SettingsPath() noexcept;

}  // namespace qvshr
