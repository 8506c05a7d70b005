#include "toolkit/settings.h"

#include <QSettings>
#include <QString>

#include "foundation/app_paths.h"

namespace {

QString Key(const char* section, const char* key) {
    return QString::fromUtf8(section) + "/" + QString::fromUtf8(key);
}

// Opened afresh for each use: another window of the program may have
// changed the file meanwhile, and settings are few and seldom read.
QSettings Open() { return QSettings(QString::fromStdString(LUserSettingsPath()), QSettings::IniFormat); }

} // namespace

std::string LUserSettingsPath() {
    const std::string folder = LEnsureFolder(LGetUserConfigFolder());
    return (folder.empty() ? LGetUserConfigFolder() : folder) + "/settings.ini";
}

bool LUserSettingExists(const char* section, const char* key) { return Open().contains(Key(section, key)); }

bool LUserSettingGet(const char* section, const char* key, bool fallback) {
    const QVariant v = Open().value(Key(section, key));
    if (!v.isValid())
        return fallback;
    const QString s = v.toString().trimmed().toLower();
    if (s == "true" || s == "1")
        return true;
    if (s == "false" || s == "0")
        return false;
    return fallback;
}

long LUserSettingGet(const char* section, const char* key, long fallback) {
    const QVariant v = Open().value(Key(section, key));
    bool ok = false;
    const long long n = v.toString().trimmed().toLongLong(&ok);
    return ok ? static_cast<long>(n) : fallback;
}

std::string LUserSettingGet(const char* section, const char* key, const char* fallback) {
    const QVariant v = Open().value(Key(section, key));
    return v.isValid() ? v.toString().toStdString() : std::string(fallback ? fallback : "");
}

void LUserSettingSet(const char* section, const char* key, bool value) {
    Open().setValue(Key(section, key), value ? "true" : "false");
}

void LUserSettingSet(const char* section, const char* key, long value) {
    Open().setValue(Key(section, key), QString::number(static_cast<long long>(value)));
}

void LUserSettingSet(const char* section, const char* key, const char* value) {
    Open().setValue(Key(section, key), QString::fromUtf8(value ? value : ""));
}
