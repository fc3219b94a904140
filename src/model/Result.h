#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace vellumix {

/// An error returned to the direct caller as a value.
struct Error {
    QString message;
};

/// A value or an error; a small stand-in for std::expected, which C++20 lacks.
template <class T> class Result {
public:
    Result(T value) : m_state(std::move(value)) {}
    Result(Error error) : m_state(std::move(error)) {}

    bool hasValue() const { return std::holds_alternative<T>(m_state); }
    explicit operator bool() const { return hasValue(); }

    const T& value() const& { return std::get<T>(m_state); }
    T&& value() && { return std::get<T>(std::move(m_state)); }
    const T& operator*() const& { return value(); }
    const T* operator->() const { return &value(); }

    const Error& error() const { return std::get<Error>(m_state); }

private:
    std::variant<T, Error> m_state;
};

} // namespace vellumix
