#include "qxc/Questions.h"

#include "Mis/TaskData.h"
#include "Mis/Unix/TextInput.h"
#include "qxc/Output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

namespace {

constexpr std::string_view fileTooLong = "file above 64 MiB";
static_assert(largestTaskFile == 64 * 1024 * 1024);

using Say = void (*)(std::string_view line);

Answer Refuse(const std::string& file, const VTaskData& data, std::string_view cause, Say say) {
    std::string text;
    data.GetErrorLine(text);
    say(escaped(file + ':' + std::to_string(data.GetErrorLine()) + ": " + text + ": ").append(cause));
    return answerNo;
}

/// Loads a file into the empty `data`. Says why it is refused, and on standard error why it cannot be read.
Answer Load(const std::string& file, VTaskData& data, Say say) {
    std::string text;
    const int error = sys_readToEnd(file, largestTaskFile, text);
    if (error == EFBIG) {
        return Refuse(file, data, fileTooLong, say);
    }
    if (error != 0) {
        complain(file, std::strerror(error));
        return answerUnknown;
    }
    return data.Deserialize(text, false) ? answerYes : Refuse(file, data, task_refusalText(data.GetErrorCause()), say);
}

/// Loads the file that the first operand names. Returns: none, after saying why, when there is nothing to ask of it.
std::optional<VTaskData> Loaded(const Request& request) {
    VTaskData data(request.operands.front(), true);
    const Answer answer = Load(request.operands.front(), data, writeError);
    return answer == answerYes ? std::optional(std::move(data)) : std::nullopt;
}

std::string ValueOf(const VTaskData& data, int key) {
    std::string value;
    data.GetString(key, &value);
    return value;
}

/// True for the keys of passwords and of licences, by their kind or by the last part of their name.
bool IsSecret(int key, std::string_view name) {
    constexpr std::array<std::string_view, 4> secretNames = {"Password", "Key", "License", "License_Key"};
    _TOInfo row = {};
    const bool isPassword = VTaskData::GetKeyInfo(key, row) > 0 && std::string_view(row.typeSpec) == "#P";
    const std::string_view last = name.substr(name.rfind('.') + 1);
    return isPassword || std::find(secretNames.begin(), secretNames.end(), last) != secretNames.end();
}

} // namespace

Answer checkFiles(const Request& request) {
    Answer worst = answerYes;
    for (const std::string& file : request.operands) {
        VTaskData data(file, true);
        worst = std::max(worst, Load(file, data, writeLine));
    }
    return worst;
}

Answer listPlugins(const Request& request) {
    const std::optional<VTaskData> data = Loaded(request);
    if (!data) {
        return answerUnknown;
    }
    for (int slot = 0; slot < pluginSlotCount; ++slot) {
        const std::string code = ValueOf(*data, keyPluginCode + slot);
        if (*code.c_str() == '\0') {
            continue;
        }
        const std::string library = ValueOf(*data, keyPluginBinary + slot);
        const std::string description = ValueOf(*data, keyPluginName + slot);
        if (request.json) {
            writeObject({{"slot", slot}, {"name", code}, {"library", library}, {"description", description}});
        } else {
            writeLine(std::to_string(slot) + '\t' + escaped(code) + '\t' + escaped(library) + '\t' +
                      escaped(description));
        }
    }
    return answerYes;
}

Answer getValue(const Request& request) {
    std::optional<VTaskData> data = Loaded(request);
    if (!data) {
        return answerUnknown;
    }
    const std::string& name = request.operands.back();
    int key = 0;
    const bool isKey = VTaskData::GetKeyID(name, &key, data->GetVersion(), data->GetType()) > 0;
    bool found = false;
    data->VisitWritten([&](int written, const std::string&, const std::string& value) {
        if (isKey && written == key) {
            writeLine(value);
            found = true;
        }
    });
    if (!found) {
        const TaskRefusal cause = task_whyNotNamed(name);
        complain(name, cause == TaskRefusal::notLegal && isKey ? "no value" : task_refusalText(cause));
    }
    return found ? answerYes : answerNo;
}

Answer listKeys(const Request& request) {
    std::optional<VTaskData> data = Loaded(request);
    if (!data) {
        return answerUnknown;
    }
    data->VisitWritten([&](int key, const std::string& name, const std::string& value) {
        const std::string shown = !request.secrets && IsSecret(key, name) ? "********" : value;
        if (request.json) {
            writeObject({{"key", name}, {"value", shown}});
        } else {
            writeLine(escaped(name + " = " + shown));
        }
    });
    return answerYes;
}
