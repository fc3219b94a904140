#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <cstddef>
#include <optional>

namespace vellumix {

/// Raw values of an enumeration, indexed by the enumerator's underlying value. Every stored or
/// matched enumeration specialises this with the case names in declaration order.
template <class E> struct EnumNames;

template <class E> constexpr std::size_t caseCount() {
    return EnumNames<E>::names.size();
}

/// Every case in declaration order.
template <class E> constexpr auto allCases() {
    std::array<E, caseCount<E>()> cases{};
    for (std::size_t i = 0; i < cases.size(); ++i) {
        cases[i] = static_cast<E>(i);
    }
    return cases;
}

template <class E> QString rawValue(E value) {
    const auto index = static_cast<std::size_t>(value);
    return index < caseCount<E>() ? EnumNames<E>::names[index].toString() : QString();
}

/// Case-sensitive match on the raw value; anything else is no value.
template <class E> std::optional<E> parseEnum(QStringView raw) {
    for (std::size_t i = 0; i < caseCount<E>(); ++i) {
        if (EnumNames<E>::names[i] == raw) {
            return static_cast<E>(i);
        }
    }
    return std::nullopt;
}

} // namespace vellumix
