#pragma once
// Where the program keeps its files, following the XDG base directories:
// user data ("Recovery", render cache files, scratch files), cache (temporary
// saves), config (settings), and the program's own read-only data folders
// ("Brushes", "Widgets", "Templates", "Start").
//
// Every function answers with a path without a trailing slash. The Ensure...
// forms also create the folder (and its parents) and answer an empty string
// when that fails.

#include <string>

std::string LGetUserDataFolder();   // $XDG_DATA_HOME/korvane or ~/.local/share/korvane
std::string LGetUserCacheFolder();  // $XDG_CACHE_HOME/korvane or ~/.cache/korvane
std::string LGetUserConfigFolder(); // $XDG_CONFIG_HOME/korvane or ~/.config/korvane
std::string LGetRecoveryFolder();   // "Recovery" in the user data folder

std::string LEnsureFolder(const std::string& path);

// A program data folder such as "Brushes": beside the executable in a build
// tree, under the install prefix's share/korvane once installed. Empty when
// it is found nowhere.
std::string LGetProgramDataFolder(const char* name);
