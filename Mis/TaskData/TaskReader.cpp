#include "Mis/TaskData/TaskReader.h"

#include "classlib/String.h"

#include <cstring>
#include <functional>

using txccl::string::Crop;
using txccl::string::CropEnd;

namespace {

constexpr std::string_view commentMark = "//";
constexpr std::string_view continuationMark = "\"-";
constexpr std::string_view joint = "\"-\"";
constexpr std::size_t longLine = 1U << 20;

std::string_view CutComment(std::string_view line) {
    line = Crop(line);
    const std::size_t comment = line.find(commentMark);
    return comment == std::string_view::npos ? line : CropEnd(line.substr(0, comment));
}

} // namespace

void TaskReader::Reset(std::size_t textLength) {
    m_textLength = textLength;
    m_name.clear();
    m_prefixLength = 0;
    m_pendingLine.clear();
}

void TaskReader::EndText() {
    m_textLength = 0;
    // Assigning an empty string would keep the memory.
    std::string().swap(m_pendingLine);
    std::string().swap(m_logicalLine);
    m_value = {};
}

TaskReader::Line TaskReader::Next(std::string_view physical) {
    m_name.resize(m_prefixLength);
    const std::string_view line = CutComment(physical);
    if (line.empty()) {
        return Line::done;
    }
    const bool continues = !m_pendingLine.empty() && line.front() == '"';
    if (!continues) {
        m_pendingLine.clear();
        if (!line.ends_with(continuationMark)) {
            return Complete(line);
        }
    }
    if (m_pendingLine.size() + line.size() > longLine) {
        // A line that grew further on its own would be in memory twice each time that it is moved.
        m_pendingLine.reserve(m_textLength);
    }
    m_pendingLine += line;
    if (m_pendingLine.ends_with(continuationMark)) {
        return Line::done;
    }
    m_logicalLine.swap(m_pendingLine);
    m_pendingLine.clear();
    return Complete(m_logicalLine);
}

std::string* TaskReader::ValueBuffer() noexcept {
    const bool isWithin = std::less_equal<>()(m_logicalLine.data(), m_value.data()) &&
                          std::less<>()(m_value.data(), m_logicalLine.data() + m_logicalLine.size());
    return isWithin ? &m_logicalLine : nullptr;
}

TaskReader::Line TaskReader::Complete(std::string_view logical) {
    if (logical.ends_with('{')) {
        logical.remove_suffix(1);
        m_name += Crop(logical);
        m_name += '.';
        m_prefixLength = m_name.size();
        return Line::done;
    }
    if (logical == "}") {
        CloseSection();
        return Line::done;
    }
    const std::size_t equals = logical.find('=');
    if (equals == std::string_view::npos) {
        return Line::bad;
    }
    m_name += Crop(logical.substr(0, equals));
    m_value = RemoveJoints(Crop(logical.substr(equals + 1)), logical);
    return Line::key;
}

/// Drops the last part of the open name. So a section whose name holds a "." needs one "}" for each part.
void TaskReader::CloseSection() {
    const std::size_t dot = m_prefixLength < 2 ? std::string::npos : m_name.rfind('.', m_prefixLength - 2);
    m_prefixLength = dot == std::string::npos ? 0 : dot + 1;
}

/// Removing a joint can bring characters together that form a new one; that one is kept.
std::string_view TaskReader::RemoveJoints(std::string_view value, std::string_view logical) {
    std::size_t found = value.find(joint);
    if (found == std::string_view::npos) {
        return value;
    }
    // The value may be long, so its pieces are moved together in place: in m_logicalLine, where most joints arise.
    auto begin = static_cast<std::size_t>(value.data() - logical.data());
    if (logical.data() != m_logicalLine.data()) {
        m_logicalLine = value;
        value = m_logicalLine;
        begin = 0;
    }
    char* const first = m_logicalLine.data() + begin;
    char* end = first + found;
    while (found != std::string_view::npos) {
        value.remove_prefix(found + joint.size());
        found = value.find(joint);
        const std::size_t length = value.substr(0, found).size();
        std::memmove(end, value.data(), length);
        end += length;
    }
    return {first, end};
}
