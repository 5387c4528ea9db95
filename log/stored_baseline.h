#pragma once
// The baseline a raw log may carry (DATA_INFO "BASELINE"), read and written through the program's INI
// reader. The reader is shared with whatever the caller was reading, so each call puts its Path and Section
// back before returning.
#include "log/log_arrays.h"
#include "settings/ini_file.h"

#include <string>

namespace zel {

bool HasStoredBaseline(const std::string& rawLogPath, cInifile& ini);
// Makes the stored baseline the current one. False, with the current baseline kept, when the log has none
// or its list is not a list of numbers.
bool LoadStoredBaseline(const std::string& rawLogPath, cInifile& ini, LogArrays& arrays);
// Writes the current baseline (2 decimals, as the raw log's lists). The key is edited in place, which moves
// the binary block; the loader's trailer check mends that on the next load.
void SaveBaseline(const std::string& rawLogPath, cInifile& ini, const LogArrays& arrays);

} // namespace zel
