#pragma once
// The options file: the state of the setup and display dialogs, restored at start and saved at exit, and the
// few program-wide values kept beside them ("ZEL": last log folder and file; "Misc": the solid fill colour;
// "FileUtilities": the batch file-utility dialog).

#include "common/host.h"
#include "settings/form.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zel {

class Options {
public:
    // The dialogs persisted by control state, in the order SaveOptions writes them.
    static constexpr const char* kSavedForms[] = {"frmHP",   "frmAdvOptions", "frmGeneric",  "frmCallout",
                                                  "frmComm", "frmTab",        "frmWaveMath", "frmFTP"};

    Options(Host& host, FormSet& forms, std::string optionsPath);
    const std::string& path() const { return path_; }

    // Program-wide values the options file carries.
    std::int32_t SolidFillColor = 0;
    std::string InitDir;  // the folder the file list reopens at start
    std::string InitFile; // the last log file named for recording
    // Called when LoadOptions has read the solid fill colour (the advanced options form shows it) and at its
    // end to refresh the display.
    std::function<void(std::int32_t)> ShowSolidFillColor;
    std::function<void()> RefreshDisplay;

    // Saves every persisted dialog, then "Misc". Does nothing once the options file was reset in this run,
    // so the closing program does not write the deleted file again.
    void SaveOptions();
    // partial (from the splash): only what instrument start-up needs ("Comm", "WaveMath", "AdvOptions").
    // Otherwise (when the main display form loads): "Generic", "Tab", "HP", "FTP", the solid fill colour,
    // the last folder and file, then the controls that must not carry over between sessions are set to
    // their start values, and the display is refreshed.
    void LoadOptions(bool partial);

    // "ZEL"/"InitDir" and "ZEL"/"InitFile", written when a log is opened, a folder browsed or a new log
    // named.
    void SaveInitDir(std::string_view folder);
    void SaveInitFile(std::string_view file);

    // The colour button of the advanced options form: asks "Red?", "Green?", "Blue?" in turn. Returns false
    // (colour unchanged) when any question is cancelled.
    bool AskSolidFillColor();

    // The batch file-utility dialog's options, under "FileUtilities" with the control names as keys.
    void SaveFileUtilities(Form& dialog);
    void LoadFileUtilities(Form& dialog);

    // Help menu: reset the options file (asks first). Afterwards SaveOptions does nothing in this run.
    void ResetOptionsFile();
    bool OptionsFileWasReset() const { return resetDone_; }

private:
    // One key of the "ZEL" section written to the options file.
    void writeZelKey(const char* key, std::string_view value);
    void report(const char* routine, int step, const std::exception& e);

    Host& host_;
    FormSet& forms_;
    std::string path_;
    bool resetDone_ = false;
};

} // namespace zel
