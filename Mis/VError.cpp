#include "Mis/VError.h"

#include "MessageLIB/MessageIds.h"
#include "MessageLIB/Translator.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Plugins/Unix/IPlugins.h"

#include <cassert>
#include <exception>
#include <utility>

using I18NMessage::FileLogger;
using I18NMessage::Logger;
using I18NMessage::Message;
using I18NMessage::MessageSeverity;
using I18NMessage::Parameter;
using I18NTranslation::I18NStringTranslator;

namespace {

/// Makes another logger the default one for as long as it lives.
class DefaultLoggerSwap {
public:
    explicit DefaultLoggerSwap(Logger* logger) noexcept : m_previous(std::exchange(Message::s_defaultLogger, logger)) {}
    DefaultLoggerSwap(const DefaultLoggerSwap&) = delete;
    DefaultLoggerSwap& operator=(const DefaultLoggerSwap&) = delete;
    ~DefaultLoggerSwap() { Message::s_defaultLogger = m_previous; }

private:
    Logger* m_previous;
};

void LogCause(VError& cause) {
    if (auto* error = dynamic_cast<VI18NError*>(&cause)) {
        error->LogShow();
        return;
    }
    VI18NError error(cause.GetModule(), cause.GetErrVal(), cause.GetDetail());
    error.LogShow();
}

std::unique_ptr<Message> MakeMessage(long module, int number) {
    return std::make_unique<Message>(number, msg_mod2str(static_cast<int>(module)), I18NMessage::SeverityError);
}

} // namespace

VError::VError() = default;

VError::VError(const VError& other) : VObject(other) {
    VError::CopyFrom(const_cast<VError*>(&other));
}

VError& VError::operator=(const VError& other) {
    CopyFrom(const_cast<VError*>(&other));
    return *this;
}

VError::~VError() = default;

bool VError::IsError() {
    if (m_value != 0) {
        return true;
    }
    if (m_hasText) {
        const char* text = m_text;
        return static_cast<signed char>(*text) > 0;
    }
    return m_detail != 0;
}

void VError::ShowError(logopt* opt, bool /*wait*/) {
    LogShow(opt, VString(""));
}

int VError::GetErrVal() {
    return static_cast<int>(m_value);
}

void VError::CopyFrom(VError* source) {
    assert(source != nullptr);
    if (source == this) {
        return;
    }
    std::unique_ptr<VError> child(source->m_child == nullptr ? nullptr : source->m_child->Clone());
    m_module = source->m_module;
    m_value = source->m_value;
    m_hasText = source->m_hasText;
    m_detail = source->m_detail;
    m_text = source->m_text;
    m_child = std::move(child);
}

void VError::SetChildError(VError* owned) {
    if (owned != m_child.get()) {
        m_child.reset(owned);
    }
}

void VError::SetError(int module, unsigned value, unsigned detail) {
    m_module = module;
    m_value = value;
    m_hasText = false;
    m_detail = detail;
}

void VError::SetError(int module, unsigned value, const VString& text) {
    SetError(module, value, 0U);
    m_hasText = true;
    m_text = text;
}

Parameter VError::GetDetail() const {
    return m_hasText ? Parameter(static_cast<const char*>(m_text)) : Parameter(m_detail);
}

VI18NError::VI18NError() = default;

VI18NError::VI18NError(Message* owned) : m_message(owned) {}

VI18NError::VI18NError(const VI18NError& other)
    : VError(other), m_message(other.m_message == nullptr ? nullptr : std::make_unique<Message>(*other.m_message)) {}

VI18NError::VI18NError(long module, int number) : m_message(MakeMessage(module, number)) {}

VI18NError::VI18NError(long module, int number, P p1) : VI18NError(module, number) {
    m_message->AddParameter(p1);
}

VI18NError::VI18NError(long module, int number, P p1, P p2) : VI18NError(module, number, p1) {
    m_message->AddParameter(p2);
}

VI18NError::VI18NError(long module, int number, P p1, P p2, P p3) : VI18NError(module, number, p1, p2) {
    m_message->AddParameter(p3);
}

VI18NError::VI18NError(long module, int number, S severity) : VI18NError(module, number) {
    Severity(severity);
}

VI18NError::VI18NError(long module, int number, S severity, P p1) : VI18NError(module, number, p1) {
    Severity(severity);
}

VI18NError::VI18NError(long module, int number, S severity, P p1, P p2) : VI18NError(module, number, p1, p2) {
    Severity(severity);
}

VI18NError::VI18NError(long module, int number, S severity, P p1, P p2, P p3) : VI18NError(module, number, p1, p2, p3) {
    Severity(severity);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): CopyFrom looks
VI18NError& VI18NError::operator=(const VI18NError& other) {
    VError::operator=(other);
    return *this;
}

VI18NError::~VI18NError() = default;

bool VI18NError::IsError() {
    return m_message != nullptr;
}

void VI18NError::LogShow() {
    if (m_message == nullptr) {
        return;
    }
    I18NMessage::log_if_set(nullptr, *m_message);
    if (VError* cause = GetChildError(); cause != nullptr) {
        LogCause(*cause);
    }
}

void VI18NError::LogShow(S severity) {
    Severity(severity);
    LogShow();
}

void VI18NError::LogShow(logopt* opt, VString severityLetter) {
    if (m_message == nullptr) {
        return;
    }
    if (!severityLetter.IsEmpty()) {
        Severity(Message::FromSeverityChar(severityLetter));
    }
    if (opt == nullptr) {
        LogShow();
        return;
    }
    FileLogger temporary;
    temporary.AttachLogFile(opt);
    const DefaultLoggerSwap swap(&temporary);
    LogShow();
}

int VI18NError::GetErrVal() {
    const int severity = m_message == nullptr ? 0 : m_message->GetSeverity();
    return severity >= I18NMessage::SeverityInformational && severity <= I18NMessage::SeverityFatal
               ? severity
               : static_cast<int>(I18NMessage::SeverityInformational);
}

void VI18NError::CopyFrom(VError* source) {
    assert(source != nullptr);
    if (source == this) {
        return;
    }
    const auto* error = dynamic_cast<const VI18NError*>(source);
    const bool hasMessage = error != nullptr && error->m_message != nullptr;
    auto message = hasMessage ? std::make_unique<Message>(*error->m_message) : nullptr;
    VError::CopyFrom(source);
    m_message = std::move(message);
}

VError* VI18NError::Clone() {
    return new VI18NError(*this);
}

std::string VI18NError::what() const {
    const std::unique_ptr<I18NStringTranslator> translator(I18NStringTranslator::CreateI18NStringTranslator());
    translator->Initialize(prs_getprogramsdir() + "Languages");
    if (m_message != nullptr) {
        translator->Translate(*m_message, 1);
    }
    return translator->GetResult();
}

void VI18NError::Severity(S severity) {
    if (m_message != nullptr) {
        m_message->SetSeverity(severity);
    }
}

VI18NFileNotFoundError::VI18NFileNotFoundError(long module, MessageSeverity severity, const Parameter& file)
    : VI18NError(module, msgFileNotFound.number, severity, file) {}

void VString::FailForWantOf(std::size_t bytes) {
    err_throw<VError>(std::make_unique<VI18NError>(msgOutOfMemory.module, msgOutOfMemory.number,
                                                   msgOutOfMemory.severity, static_cast<unsigned>(bytes)));
}

std::unique_ptr<VError> err_caught() noexcept {
    assert(std::current_exception() != nullptr);
    try {
        throw;
    } catch (VError* error) {
        return std::unique_ptr<VError>(error);
    } catch (...) {
        return nullptr;
    }
}

namespace {

constexpr int firstPluginModule = 200;

/// Twelve bytes a text. Those behind the last module are empty.
// clang-format off
constexpr char modules[firstPluginModule][12] = {
    /*   0 */ "NONE", "AGNT", "OPSY", "AGNT", "DAEM", "MIGR", "UPDT", "SSIN", "SSOT", "GENC",
    /*  10 */ "COPY", "BKUP", "REST", "MERG", "LIST", "DEVC", "BFFR", "SIDF", "DELT", "NDIR",
    /*  20 */ "NCFG", "CLNT", "SRVC", "CXXX", "SXXX", "RPCE", "CMPR", "CRCK", "DATE", "HEDR",
    /*  30 */ "CTLG", "VIMA", "DISK", "TAPE", "SOCK", "ACCT", "SYNC", "ENCR", "BILL", "LOGS",
    /*  40 */ "FNAM", "VACS", "SSET", "SYST", "LIBR", "PARS", "VRFY", "PURG", "COMP", "RSYN",
    /*  50 */ "RGST", "NDSV", "BIND", "QMGR", "POOL", "BSTR", "PMGR", "PIDX", "PFLL", "ALYZ",
    /*  60 */ "UTIL", "PROG", "SMGR", "ROBL", "DBUT", "PIPE", "PMGR", "ROBA", "SCSI", "ROBT",
    /*  70 */ "ACNT", "ACSM", "SCRB", "LIBN", "SERG", "VSTR", "JMGR", "CONV", "FLM ", "BRTP",
    /*  80 */ "HTML", "INDX", "SS  ", "SCAN", "VSMP", "RENM", "PLGN", "EXDB", "EXMA", "    ",
    /*  90 */ "GCFG", "MGMT", "RSM ", "EVTL", "TS  ", "VSS ", "FLT ", "CLUS", "PWHD", "SQL ",
    /* 100 */ "SOAP", "CAT ", "SMS ", "VM30", "SPP ", "BMR",
};
// clang-format on

} // namespace

const char* msg_mod2str(int module) {
    if (module >= firstPluginModule) {
        return IPlugins::instance()->mod2str(module);
    }
    return module < 0 ? "" : modules[module];
}
