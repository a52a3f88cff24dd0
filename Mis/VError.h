#pragma once

#include "MessageLIB/Message.h"
#include "Mis/VObject.h"
#include "Mis/VString.h"

#include <memory>
#include <string>

struct logopt;

/// Error objects. An error is thrown as a pointer to a heap object, and whoever catches it owns it. Only err_throw
/// throws one, as the type that handlers catch, and only err_caught takes one over.
class VError : public VObject {
public:
    VError();
    /// Copies the cause, too, with Clone.
    VError(const VError& other);
    /// Calls CopyFrom, which is that of this object's class.
    VError& operator=(const VError& other);
    ~VError() override;

    /// True when the value or the numeric detail is not 0, or the text begins with an ASCII character.
    virtual bool IsError();
    /// Logs the error to the log that `opt` names, null for the default one. A letter first sets the severity.
    virtual void LogShow(logopt* opt, VString severityLetter) = 0;
    /// Logs the error likewise, with the severity that it has. `wait` is ignored: no operator is there to answer.
    virtual void ShowError(logopt* opt, bool wait);
    /// The value that SetError was given.
    virtual int GetErrVal();
    /// Copies the content of `source`, and its cause with Clone.
    virtual void CopyFrom(VError* source);
    /// Returns: a copy that the caller owns.
    virtual VError* Clone() = 0;

    /// Makes `owned` the cause of this error, which owns it from now on. Deletes the previous cause. Null for none.
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

/// An error that is a message record: module, number, severity, parameters. One without a record is no error.
class VI18NError : public VError {
    using P = const I18NMessage::Parameter&;
    using S = I18NMessage::MessageSeverity;

public:
    VI18NError();
    /// Takes ownership of the record.
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
    /// Logs the record and then its chain of causes, up to and with the first that is no VI18NError, to the default
    /// logger, as log_if_set does.
    void LogShow();
    /// The same with another severity, which the record keeps.
    void LogShow(S severity);
    void LogShow(logopt* opt, VString severityLetter) override;
    /// The severity if it is 1 to 4, else 1.
    int GetErrVal() override;
    void CopyFrom(VError* source) override;
    VError* Clone() override;
    /// The message as a text for people, from the translator in use (I18NStringTranslator).
    virtual std::string what() const;

    /// Sets the severity of the record, if there is one.
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

/// The text of a module: four characters (three for 105). Numbers from 106 to 199 and below 0 name no module and give
/// an empty text. Those from 200 up belong to plug-ins; one that belongs to no plug-in fails an assertion.
const char* msg_mod2str(int module);

/// Throws `error` as a pointer to Thrown, the type by which it can be caught.
template <class Thrown> [[noreturn]] void err_throw(std::unique_ptr<Thrown> error) {
    throw error.release();
}

/// Takes ownership of the error that is being handled. Returns: the error, or null for any other exception. REQUIRES:
/// called while a handler runs.
std::unique_ptr<VError> err_caught() noexcept;

/// Runs a step and drops whatever it throws, so that the next step runs in any case. Returns: false when it threw.
template <class Step> bool err_attempt(Step step) noexcept {
    try {
        step();
        return true;
    } catch (...) {
        err_caught();
        return false;
    }
}
