// Finding and reading dvlogics.ini.
//
// The file is looked for in $DVCONFIG, then the current directory, then the
// system configuration directory (/etc/dravik/); the first that opens is
// read. Every one of the nineteen settings is taken from the file or, when
// its key is missing, from the built-in default, stored in the settings store
// and logged with its origin.
#ifndef DV_CONFIG_DVCONFIGFILE_H
#define DV_CONFIG_DVCONFIGFILE_H

#include <string>

class CDVSettings;

// "/etc/dravik/" (with the trailing slash).
std::string dvSystemConfigDir();
// Tests: use another directory in its place; null restores the default.
void dvSetSystemConfigDirForTesting(const char* dir);

// Searches and reads dvlogics.ini into settings (values in force only).
// Returns the path read, or "" when no file was found.
std::string getIniFileSettings(CDVSettings& settings);

#endif
