#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>
#include <utility>

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
