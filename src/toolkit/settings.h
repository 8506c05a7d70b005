#pragma once
// User settings, read at the moment of use with a default. They live in one
// INI file in the user's config folder, sections and keys as the program
// names them.

#include <string>

bool LUserSettingGet(const char* section, const char* key, bool fallback);
long LUserSettingGet(const char* section, const char* key, long fallback);
inline long LUserSettingGet(const char* section, const char* key, int fallback) {
    return LUserSettingGet(section, key, static_cast<long>(fallback));
}
std::string LUserSettingGet(const char* section, const char* key, const char* fallback);

void LUserSettingSet(const char* section, const char* key, bool value);
void LUserSettingSet(const char* section, const char* key, long value);
inline void LUserSettingSet(const char* section, const char* key, int value) {
    LUserSettingSet(section, key, static_cast<long>(value));
}
void LUserSettingSet(const char* section, const char* key, const char* value);

bool LUserSettingExists(const char* section, const char* key);

// The file: "settings.ini" in the user's config folder.
std::string LUserSettingsPath();
