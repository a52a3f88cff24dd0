#pragma once

/// Edits the global configuration file in the installation directory: enters the plug-in into the first free of its ten
/// slots, or clears every slot that holds it. A copy is saved first and added to bakFiles. Reads regType, plugName,
/// installationDir and backupDir. Without the file nothing happens, which is a success.
///
/// Throws a pointer to VI18NError (error): UTIL 7948 when the file cannot be loaded, 7949, 7951 and 7952 when the
/// comment or code, the library, or the name cannot be set, BSTR 4152 (file) when there is no room for the new text or
/// the file may have been damaged while it was saved, UTIL 7947 for anything that no error object explains, among it a
/// copy in the place of the log; and what copyFile throws. Logs UTIL 7953 when done, also when the file could not be
/// opened for saving. From saving on, signals that would end the process wait (holdSignals).
void upgrade();
