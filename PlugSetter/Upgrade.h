#pragma once

/// Edits the global configuration file in the installation directory: enters the plug-in into the first free of the ten
/// slots unless one holds it already, or clears every slot that holds it. Saves a copy first and adds it to bakFiles.
/// Reads regType, plugName, installationDir and backupDir. Without the file nothing happens, which is a success.
///
/// Throws a pointer to VI18NError (error): UTIL 7948 (file) when it cannot be loaded, after logging PARS 4783 as
/// VTaskData::LoadText does; 7949, 7951 and 7952 (file name) when the comment or the code, the library, or the name
/// cannot be set; BSTR 4152 (file) when there is no room for the new text, when saving may have damaged the file, or
/// when an error of the system keeps it from beginning; UTIL 7947 ("upgrade() ") when the system cannot tell whether
/// the file is there, when its access is not that of g_logAccess, when somebody else has changed or replaced it since
/// it was copied, and for any exception but a pointer to VI18NError; and what SavedFile throws. Logs UTIL 7953
/// (informational) when done, also when the file must not be written. Once saving begins, signals that would end the
/// process are held back (holdSignals).
void upgrade();
