#pragma once

#include <QString>

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
    const T& value() const& { return *m_value; }
    T& value() & { return *m_value; }
    T&& value() && { return std::move(*m_value); }
    const T* operator->() const { return &*m_value; }
    const Error& error() const { return m_error; }

private:
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
