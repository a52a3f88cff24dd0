#pragma once

/// Edits the global configuration file in the installation directory: enters the plug-in into the first free of its ten
/// slots, or clears every slot that holds it. A copy is saved first and added to bakFiles. Reads regType, plugName,
/// installationDir and backupDir. Without the file nothing happens, which is a success.
///
/// Throws a pointer to VI18NError (module UTIL, error): 7948 when the file cannot be loaded, 7949, 7951 and 7952 when
/// the comment or code, the library, or the name cannot be set, 7947 for anything that no error object explains, among
/// it a copy that is not complete or would be the log; and what backupFile throws. Logs UTIL 7953 when done. The result
/// of saving is not looked at.
void upgrade();
