#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>
#include <utility>

// The codes of the errors that cross subsystem boundaries, written ErrorCode::CannotRead, each
// with one meaning. The Access engine keeps the engine's own numbers (3024, 3031, …) and the
// workbook readers their codes from 20 on, beside them.
enum ErrorCode : int
{
    CannotRead = 1,  // a file, data file or address book cannot be read; the message says why
    BadInput = 2,    // what was given cannot be used: a command-line argument or source, a journal
                     // of something else (the command line's exit status 2)
    CannotWrite = 3, // a file the step keeps cannot be written
    // Files read whole and contact lists.
    FileMissing = 10,
    NotAFile = 11,   // a folder, a pipe, a socket or a device
    NoContacts = 12, // an empty contact list
    // Documents.
    NoSuchDocument = 50,     // the document to open or to render is not there
    OfficeSuiteEnded = 51,   // the office suite that held the document has ended
    NoWriter = 52,           // no office suite that shows a writer window can be started
    OverwritesTemplate = 70, // a merged copy or letter would take its template's place
    BackupFailed = 71,       // a document to change could not first be copied to its backup
    // The explorer's changes to the disk.
    NameTaken = 80,   // the name is taken at the destination
    NotPossible = 81, // the file system refused the change
    CopyFailed = 82,  // a copy broke off; the original stays
    IntoItself = 83   // a folder cannot go into itself
};

// The outcome of a step that can fail, carried across subsystem boundaries as a value:
// either the result, or an error code with a message for logs and labels.
struct Error
{
    int code = 0;
    QString message;
};

template <typename T> class Result
{
public:
    Result(T value)
        : m_value(std::move(value))
    {
    }
    Result(Error error)
        : m_error(std::move(error))
    {
    }

    static Result failure(int code, QString message) { return Result(Error{code, std::move(message)}); }

    bool ok() const { return m_value.has_value(); }
    explicit operator bool() const { return ok(); }
    // Asking a failure for its value is a fault of the caller, caught in every build.
    const T& value() const&
    {
        expectValue();
        return *m_value;
    }
    T& value() &
    {
        expectValue();
        return *m_value;
    }
    T&& value() &&
    {
        expectValue();
        return std::move(*m_value);
    }
    const T* operator->() const { return &value(); }
    const Error& error() const { return m_error; }

private:
    void expectValue() const
    {
        if (!ok()) {
            qFatal("Result::value() asked of a failed step: %s", qUtf8Printable(m_error.message));
        }
    }

    std::optional<T> m_value;
    Error m_error;
};

// A step with no value of its own: success, or an error.
class Status
{
public:
    Status() = default;
    Status(Error error)
        : m_error(std::move(error))
        , m_failed(true)
    {
    }
    static Status failure(int code, QString message) { return Status(Error{code, std::move(message)}); }

    bool ok() const { return !m_failed; }
    explicit operator bool() const { return ok(); }
    const Error& error() const { return m_error; }

private:
    Error m_error;
    bool m_failed = false;
};
