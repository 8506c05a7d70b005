#pragma once
// Sets an environment variable for one scope. Set it before any thread that
// reads the environment starts.

#include <cstdlib>
#include <string>

namespace kvtest {

class ScopedEnv {
public:
    // A null value removes the variable for the scope.
    ScopedEnv(const char* name, const char* value) : name(name) {
        if (const char* old = std::getenv(name))
            previous = old, hadValue = true;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~ScopedEnv() {
        if (hadValue)
            setenv(name, previous.c_str(), 1);
        else
            unsetenv(name);
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    const char* name;
    std::string previous;
    bool hadValue = false;
};

} // namespace kvtest
