#pragma once

#include "MessageLIB/Message.h"
#include "Mis/VObject.h"
#include "Mis/VString.h"

#include <memory>
#include <string>

struct logopt;

/// Error objects. A failure of a class is thrown as a pointer to a heap object, of the static type in which it is to
/// be caught; who catches it owns it. err_throw is the one place that throws and err_caught the one that takes over.
class VError : public VObject {
public:
    VError();
    /// A copy has a cause of its own, made by Clone.
    VError(const VError& other);
    /// By CopyFrom of the object's own class.
    VError& operator=(const VError& other);
    ~VError() override;

    virtual bool IsError();
    virtual void LogShow(logopt* opt, VString severityLetter) = 0;
    /// Writes the error to the log that `opt` names, to the default one when it is null.
    /// The flag asks to wait for the operator's answer, of which there is none in this process.
    virtual void ShowError(logopt* opt, bool wait);
    virtual int GetErrVal();
    /// Takes over the content of `source`, of whose cause it makes a copy of its own.
    virtual void CopyFrom(VError* source);
    /// Returns: a copy that the caller owns.
    virtual VError* Clone() = 0;

    /// Takes `owned` over as the cause of this error and deletes the previous one. Null for none.
    void SetChildError(VError* owned);

    int GetModule() const noexcept { return m_module; }
    VError* GetChildError() const noexcept { return m_child.get(); }
    /// Makes this an error with a numeric detail, or with a text.
    void SetError(int module, unsigned value, unsigned detail);
    void SetError(int module, unsigned value, const VString& text);
    /// The detail as the parameter of a message.
    I18NMessage::Parameter GetDetail() const;

private:
    int m_module = 0;
    unsigned m_value = 0;
    bool m_hasText = false;
    unsigned m_detail = 0;
    VString m_text;
    std::unique_ptr<VError> m_child;
};

/// An error that is a message record: module, number, severity, parameters. Without a record it is no error.
class VI18NError : public VError {
    using P = const I18NMessage::Parameter&;
    using S = I18NMessage::MessageSeverity;

public:
    VI18NError();
    /// Takes the record over.
    VI18NError(I18NMessage::Message* owned);
    VI18NError(const VI18NError& other);
    /// The forms without a severity are errors (3).
    VI18NError(long module, int number);
    VI18NError(long module, int number, P p1);
    VI18NError(long module, int number, P p1, P p2);
    VI18NError(long module, int number, P p1, P p2, P p3);
    VI18NError(long module, int number, S severity);
    VI18NError(long module, int number, S severity, P p1);
    VI18NError(long module, int number, S severity, P p1, P p2);
    VI18NError(long module, int number, S severity, P p1, P p2, P p3);
    VI18NError& operator=(const VI18NError& other);
    ~VI18NError() override;

    bool IsError() override;
    /// Logs the record and then its chain of causes to the default logger, as log_if_set does.
    void LogShow();
    /// The same with another severity, which the record keeps.
    void LogShow(S severity);
    /// The same, to the log that `opt` names unless it is null; a letter first sets the severity.
    void LogShow(logopt* opt, VString severityLetter) override;
    /// The severity if it is 1 to 4, else 1.
    int GetErrVal() override;
    void CopyFrom(VError* source) override;
    VError* Clone() override;
    /// The text of the message in the user's language.
    virtual std::string what() const;

    void Severity(S severity);
    /// The record, which the error keeps; null for none.
    I18NMessage::Message* GetMessage() const noexcept { return m_message.get(); }

private:
    std::unique_ptr<I18NMessage::Message> m_message;
};

/// A named file is missing (number 4166).
class VI18NFileNotFoundError : public VI18NError {
public:
    VI18NFileNotFoundError(long module, I18NMessage::MessageSeverity severity, const I18NMessage::Parameter& file);
};

/// The text of a module: four characters, or an empty text for a number that names none. Numbers from 200 up are
/// plug-ins' and stop the process through an assertion when there is no such plug-in.
const char* msg_mod2str(int module);

/// Throws `error` as a pointer to Thrown.
template <class Thrown> [[noreturn]] void err_throw(std::unique_ptr<Thrown> error) {
    throw error.release();
}

/// Takes over the exception that is being handled. Returns: the error object, or null for any other exception.
/// REQUIRES: called while a handler runs.
std::unique_ptr<VError> err_caught() noexcept;

/// Runs a step that must not keep the next one from running: whatever it throws is dropped. Returns: false when it
/// threw.
template <class Step> bool err_attempt(Step step) noexcept {
    try {
        step();
        return true;
    } catch (...) {
        err_caught();
        return false;
    }
}
