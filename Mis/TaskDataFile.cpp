// The file side of VTaskData: loading, parsing, saving, and the fingerprint of what would be saved.

#include "Mis/TaskData.h"

#include "Mis/Report.h"
#include "Mis/TaskData/KeyTable.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/Unix/WholeFile.h"
#include "Plugins/Unix/IPlugins.h"
#include "classlib/String.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace {

/// The type of a text until its header lines say otherwise.
constexpr int firstType = 1;

} // namespace

int VTaskData::LoadFromFile(std::string name, bool showError, const char* context, bool applySideEffects) {
    const int result = LoadFile(name, applySideEffects);
    if (result == 0 && context != nullptr) {
        ReportSyntaxError(name.empty() ? m_fileName : name, showError, context);
    }
    return result;
}

int VTaskData::LoadText(std::string_view text, bool showError, const char* context, bool applySideEffects) {
    const int result = DeserializeText(text, applySideEffects) ? 1 : 0;
    if (result == 0 && context != nullptr) {
        ReportSyntaxError(m_fileName, showError, context);
    }
    return result;
}

int VTaskData::LoadFile(std::string name, bool applySideEffects) {
    const std::string& path = name.empty() ? m_fileName : name;
    FileContent content;
    if (sys_readFile(path.c_str(), largestTaskFile, content) < 1) {
        return -1;
    }
    return DeserializeText(content.Text(), applySideEffects) ? 1 : 0;
}

void VTaskData::ReportSyntaxError(const std::string& name, bool showError, const char* context) {
    if (showError) {
        const std::string text = "syntax error " + name + ", line " + std::to_string(m_errorLine) + ": " + m_errorText;
        err_make(msgSyntaxErrorText, text.c_str(), context)->LogShow(nullptr, VString(""));
        return;
    }
    msg_log(msgSyntaxError, name.c_str(), m_errorLine);
    msg_log(msgSyntaxError, name.c_str(), m_errorLine, m_errorText.c_str());
}

bool VTaskData::Deserialize(std::string& text, bool applySideEffects) {
    return DeserializeText(text, applySideEffects);
}

bool VTaskData::DeserializeText(std::string_view text, bool applySideEffects) {
    m_reader.Reset(text.size());
    m_errorLine = 0;
    m_errorText.clear();
    m_errorCause = TaskRefusal::none;
    m_version = firstFormatVersion;
    m_buildVersion.clear();
    m_type = firstType;
    if (text.empty()) {
        m_errorCause = TaskRefusal::textEmpty;
        return false;
    }
    const bool accepted = ParseAll(text, applySideEffects);
    m_reader.EndText();
    return accepted;
}

bool VTaskData::ParseAll(std::string_view rest, bool applySideEffects) {
    for (std::size_t number = 1;; ++number) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        if (!Parse(line, applySideEffects)) {
            m_errorLine = static_cast<int>(std::min<std::size_t>(number, INT_MAX));
            m_errorText = txccl::string::CropEnd(line);
            return false;
        }
        if (end == std::string_view::npos) {
            return true;
        }
        rest.remove_prefix(end + 1);
    }
}

bool VTaskData::ParseLine(std::string line, bool applySideEffects) {
    return Parse(line, applySideEffects);
}

bool VTaskData::Parse(std::string_view line, bool applySideEffects) {
    switch (m_reader.Next(line)) {
    case TaskReader::Line::done: return true;
    case TaskReader::Line::bad: return Refuse(TaskRefusal::noEquals);
    case TaskReader::Line::key: break;
    }
    int index = 0;
    const _TOInfo* row = KeyTable::FirstNamed(m_reader.Name(), m_version, m_type, &index);
    if (row == nullptr) {
        return Refuse(task_whyNotNamed(m_reader.Name()));
    }
    const int key = row->id + index;
    if (Store(key, m_reader.Value(), applySideEffects)) {
        return true;
    }
    return Refuse(key == keyFormatVersion ? TaskRefusal::versionTooNew : task_whyNotTaken(key, m_reader.Value()));
}

bool VTaskData::Refuse(TaskRefusal cause) {
    m_errorCause = cause;
    return false;
}

bool VTaskData::Store(int key, std::string_view value, bool applySideEffects) {
    if (key == keyType || key == keyBuildVersion || key == keyFormatVersion) {
        return StoreHeader(key, value);
    }
    if (applySideEffects && key == keyOracleHome) {
        SetOracleHome(std::string(value).c_str());
    }
    if (applySideEffects && key == keyPlugins && !extensionLoaded) {
        return StorePlugins(std::string(value));
    }
    // Put looks the row up again, by the number, because that row judges the value. It can be another one: in families
    // of three digits the indices from 100 up run into the numbers of the next family, so that VSSWriterBackup100.Name
    // has the number of VSSWriterBackup000.InstName.
    return Put(key, value, true, m_reader.ValueBuffer()) > 0;
}

bool VTaskData::StoreHeader(int key, std::string_view value) {
    switch (key) {
    case keyType: m_type = txccl::string::LeadingSignedNumber(value); return true;
    case keyBuildVersion: m_buildVersion = value; return true;
    default: break;
    }
    m_version = txccl::string::LeadingNumber(value);
    return m_version <= lastFormatVersion;
}

bool VTaskData::StorePlugins(const std::string& list) {
    if (SetRaw(keyPlugins, list, true) < 1) {
        return false;
    }
    IPlugins::instance()->setPluginsString(list);
    IPlugins::instance()->loadAllPlugins();
    extensionLoaded = true;
    return true;
}

long VTaskData::SaveToFile(std::string name) {
    const std::string& path = name.empty() ? m_fileName : name;
    std::string text;
    Serialize(text);
    return sys_writeFile(path, std::move(text));
}

long VTaskData::Serialize(std::string& out) {
    m_writer.Reset();
    out.clear();
    out.reserve(LongestText());
    if (!m_comment.empty()) {
        out += m_comment;
        out += "\r\n";
    }
    VisitWritten([&](int, const std::string& name, const std::string& value) { m_writer.Write(name, value, out); });
    ClosingLine(out);
    return static_cast<long>(out.size());
}

void VTaskData::VisitWritten(const Visitor& visit) {
    const VTDEntry headers[] = {
        {keyBuildVersion, m_buildVersion, m_version, m_type},
        {keyFormatVersion, std::to_string(m_version), m_version, m_type},
        {keyType, std::to_string(m_type), m_version, m_type},
    };
    for (const VTDEntry& header : headers) {
        visit(header.GetKey(), WrittenName(header), header.GetValue());
    }
    for (const VTDEntry* entry : m_entries.Sorted()) {
        visit(entry->GetKey(), WrittenName(*entry), entry->GetValue());
    }
}

/// An upper bound for the length of the text, so that it is never moved while it grows.
std::size_t VTaskData::LongestText() const {
    constexpr std::size_t headerLines = 1024;
    constexpr std::size_t sectionLines = 64;
    std::size_t length = headerLines + m_comment.size() + m_buildVersion.size() + m_buildVersion.size() / 12;
    for (const VTDEntry& entry : m_entries.All()) {
        length += sectionLines + 2 * entry.GetName().size() + entry.GetValue().size() + entry.GetValue().size() / 12;
    }
    return length;
}

bool VTaskData::UnparseLine(VTDEntry& entry, std::string& out) {
    m_writer.Write(WrittenName(entry), entry.GetValue(), out);
    return true;
}

std::string VTaskData::WrittenName(const VTDEntry& entry) const {
    std::string name = entry.GetName();
    GetKeyName(entry.GetKey(), name, m_version, m_type);
    return name;
}

void VTaskData::ClosingLine(std::string& out) {
    m_writer.CloseAll(out);
}

unsigned char* VTaskData::binary_signature() {
    std::string text;
    Serialize(text);
    return txccl::Signature::binary(text);
}
