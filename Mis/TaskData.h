#pragma once

#include "Mis/TaskData/TaskEntries.h"
#include "Mis/TaskData/TaskEntry.h"
#include "Mis/TaskData/TaskReader.h"
#include "Mis/TaskData/TaskRefusal.h"
#include "Mis/TaskData/TaskWriter.h"
#include "Mis/TaskKeys.h"
#include "Mis/TaskOptions.h"
#include "Mis/VObject.h"
#include "Mis/VString.h"
#include "Mis/Version.h"
#include "classlib/FilenameHelper.h"
#include "classlib/Signature.h"

#include <functional>
#include <string>
#include <string_view>

/// A task-data file in memory: a few header values, and entries, each a key of the key table with a text.
///
/// Unless it says otherwise, an operation returns 1 for success, and 0 when the key is not found or not legal, or is
/// present and must not be overwritten. Nothing here throws, except when memory runs out. A key is the full number,
/// index included.
class VTaskData : public VObject, public txccl::Signature::SignableObject {
public:
    /// Names the file but does not read it. In raw mode values are kept as they are, without code-page conversion.
    VTaskData(const char* fileName, bool rawMode);
    VTaskData(const std::string& fileName, bool rawMode);
    VTaskData(const VString& fileName, bool rawMode);

    /// Returns: the SHA-1 of the text that Serialize gives; see txccl::Signature for who owns it.
    unsigned char* binary_signature() override;

    int GetVersion() const noexcept { return m_version; }
    void SetVersion(int version) noexcept { m_version = version; }
    int GetMaxVersion() const noexcept { return lastFormatVersion; }
    int GetType() const noexcept { return m_type; }
    void SetType(int type) noexcept { m_type = type; }
    /// The comment is written at the top of the text, as it is and with a line end, and never read back. Returns: 1.
    int SetComment(const VString& comment);
    int SetComment(const std::string& comment);
    int SetComment(const char* comment);
    const std::string& GetTaskName() const noexcept { return m_fileName; }
    /// The number, from 1 and up to INT_MAX, and the text of the physical line at which the last whole text failed; 0
    /// and empty if it failed at none.
    int GetErrorLine() const noexcept { return m_errorLine; }
    void GetErrorLine(std::string& text) const { text = m_errorText; }
    /// Why the last whole text failed, or the last line that ParseLine refused.
    TaskRefusal GetErrorCause() const noexcept { return m_errorCause; }

    /// Each sets `*out` to the value, or to an empty text when there is none.
    int GetRaw(int key, std::string* out) const;
    int GetString(int key, std::string* out) const;
    int GetString(int key, VString* out) const;
    /// `buf` must have room for the value and its terminator, which is not checked.
    int GetString(int key, char* buf) const;

    /// Returns: 0 also when the value does not fit the key. The value of a new entry is cropped; one that replaces
    /// another is not.
    ///
    /// Not all that these take reads back as it was set. Keys 11 to 13 become entries, which are written besides the
    /// header lines and read as header values. A line end in a value is written as it is, and what follows it is then
    /// read as a line of its own. A key such as 20401 lies among those of a row, but has no name for the object's
    /// version and type. It is written with the name that it had when it was set, if any. Reading refuses such a line,
    /// or, without a name in a file of type 4, sets key 800.
    int SetRaw(int key, const std::string& value, bool overwrite);
    int SetString(int key, const std::string& value, bool overwrite);
    int SetString(int key, const char* value, bool overwrite);
    int SetString(int key, const VString& value, bool overwrite);

    int DeleteKey(int key);
    /// Deletes all keys from `start` to `end`. REQUIRES: start <= end.
    int DeleteKey(int start, int end);

    /// Typed values. A get returns 0 also when the value is not of the kind, a set when the key does not take it. A
    /// number above INT_MAX is got as INT_MAX.
    int GetBool(int key, bool* out) const;
    int SetBool(int key, bool value, bool overwrite);
    int GetNumeric(int key, int* out) const;
    int SetNumeric(int key, int value, bool overwrite);
    /// `index` counts the names of the key's row from 0.
    int GetEnum(int key, int* index) const;
    int SetEnum(int key, int index, bool overwrite);
    /// Bit n stands for the name with the index n.
    int GetMask(int key, unsigned* mask) const;
    int SetMask(int key, unsigned mask, bool overwrite);
    /// The plain text of a password key.
    int GetPassword(int key, std::string* out) const;
    int SetPassword(int key, const std::string& value, bool overwrite);

    /// True when the key is legal for this object's version and type and the value fits it.
    bool IsValidEntry(int key, const std::string& value) const;

    /// Finds the first row for the key, whatever its version and type.
    static int GetKeyInfo(int key, _TOInfo& info);
    /// Finds the name by the last legal row that names the key. Without such a row `name` stays as it is.
    static int GetKeyName(int key, std::string& name, int version, int type);
    /// Finds the key by the first legal row that matches the name, in any letter case.
    static int GetKeyID(const std::string& name, int* key, int version, int type);
    /// True when the first word of `text` is `pattern`, in any letter case and with a digit for each "%". The digits
    /// are the decimal number `*index`, INT_MAX when it does not fit.
    static bool KeyMatch(const char* text, const char* pattern, int* index);

    /// Loads the file with this name, the object's own when it is empty. The header values start anew; entries are
    /// added to those that the object holds. Returns: 1 loaded; 0 syntax error, or an empty file; -1 missing, above 64
    /// MiB, or unreadable. Unless `context` is null, LoadFromFile reports the 0: with `showError` as PARS 4456 (error;
    /// whole text, `context`), else as PARS 4783 (error) twice, once with file and line, once with file, line and text.
    int LoadFromFile(std::string name, bool showError, const char* context, bool applySideEffects);
    int LoadFile(std::string name, bool applySideEffects);
    /// As LoadFromFile, with the text of the object's own file, which somebody else has read. Returns: 1 or 0.
    int LoadText(std::string_view text, bool showError, const char* context, bool applySideEffects);
    /// Reads a whole text, or one physical line of it. Returns: false when a line is refused or the whole text is
    /// empty; what the lines before said is kept. The side effects: the first "Plugins" line of the process is handed
    /// to the plug-in registry, and the value of "Oracle0.OraHome" becomes ORACLE_HOME in the environment.
    bool Deserialize(std::string& text, bool applySideEffects);
    bool ParseLine(std::string line, bool applySideEffects);

    /// Writes over the file in place and synchronises it; sys_writeFile says how. An empty name stands for the object's
    /// own. Returns: bytes written; 0 when there is no room, or on a write error; -1 when the file cannot be opened, or
    /// the text is longer than this process may write.
    long SaveToFile(std::string name);
    /// Replaces `out` by the whole text, entries sorted. Returns: its length.
    long Serialize(std::string& out);
    /// Calls `visit` with key, name and value of each header value and entry, in the order in which they are written.
    using Visitor = std::function<void(int key, const std::string& name, const std::string& value)>;
    void VisitWritten(const Visitor& visit);
    /// Appends the lines for one entry. Returns: true.
    bool UnparseLine(VTDEntry& entry, std::string& out);
    /// Appends the lines that close all open sections.
    void ClosingLine(std::string& out);

    static bool extensionLoaded; ///< the plug-in list of this process has been handed over

private:
    bool DeserializeText(std::string_view text, bool applySideEffects);
    bool ParseAll(std::string_view text, bool applySideEffects);
    bool Parse(std::string_view line, bool applySideEffects);
    bool Refuse(TaskRefusal cause);
    std::string WrittenName(const VTDEntry& entry) const;
    bool StoreHeader(int key, std::string_view value);
    bool StorePlugins(const std::string& list);
    bool Store(int key, std::string_view value, bool applySideEffects);
    int Put(int key, std::string_view value, bool overwrite, std::string* buffer = nullptr);
    bool Fits(int key, std::string_view value) const;
    void ReportSyntaxError(const std::string& name, bool showError, const char* context);
    std::size_t LongestText() const;
    bool IsConverted(int key) const;
    std::string_view TypeSpec(int key) const;

    int m_type = 1;
    int m_version = lastFormatVersion;
    std::string m_buildVersion = programVersion;
    std::string m_fileName;
    TaskEntries m_entries;
    int m_errorLine = 0;
    std::string m_errorText;
    TaskRefusal m_errorCause = TaskRefusal::none;
    TaskReader m_reader;
    TaskWriter m_writer;
    std::string m_comment;
    bool m_rawMode;
    txccl::FilenameHelper::UTF8_CodePage m_utf8ToCodePage;
    txccl::FilenameHelper::CodePage_UTF8 m_codePageToUtf8;
};
