#include "foundation/app_paths.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kAppFolder = "korvane";

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home)
        return home;
    if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir)
        return pw->pw_dir;
    return "/tmp";
}

// The XDG rule: the variable when it holds an absolute path, else the default
// below the home folder.
std::string BaseFolder(const char* variable, const char* fallbackBelowHome) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/')
        return value;
    return HomeFolder() + "/" + fallbackBelowHome;
}

bool IsFolder(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string ExecutableFolder() {
    char buffer[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0)
        return {};
    std::string path(buffer, static_cast<size_t>(n));
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

} // namespace

std::string LGetUserDataFolder() {
    return BaseFolder("XDG_DATA_HOME", ".local/share") + "/" + kAppFolder;
}

std::string LGetUserCacheFolder() { return BaseFolder("XDG_CACHE_HOME", ".cache") + "/" + kAppFolder; }

std::string LGetUserConfigFolder() {
    return BaseFolder("XDG_CONFIG_HOME", ".config") + "/" + kAppFolder;
}

std::string LGetRecoveryFolder() { return LGetUserDataFolder() + "/Recovery"; }

std::string LEnsureFolder(const std::string& path) {
    if (path.empty())
        return {};
    for (size_t i = 1; i <= path.size(); ++i) {
        if (i != path.size() && path[i] != '/')
            continue;
        const std::string part = path.substr(0, i);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
            return {};
    }
    return IsFolder(path) ? path : std::string();
}

std::string LGetProgramDataFolder(const char* name) {
    std::string candidates[3];
    const std::string exe = ExecutableFolder();
    if (!exe.empty()) {
        candidates[0] = exe + "/data/" + name;
        candidates[1] = exe + "/../share/" + kAppFolder + "/" + name;
    }
#ifdef KV_SOURCE_DATA_DIR
    // A program run from its build tree reads the data folders of the sources.
    candidates[2] = std::string(KV_SOURCE_DATA_DIR) + "/" + name;
#endif
    for (const std::string& c : candidates)
        if (!c.empty() && IsFolder(c))
            return c;
    return {};
}
