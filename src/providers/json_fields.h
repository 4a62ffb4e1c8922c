#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace quillon::json_fields {

// Typed look-ups in the services' answers: a key that is missing or holds another type reads
// as absent, never as an error.

inline const nlohmann::json* objectAt(const nlohmann::json* parent, std::string_view key) {
    if (parent == nullptr || !parent->is_object()) {
        return nullptr;
    }
    const auto found = parent->find(key);
    return found != parent->end() && found->is_object() ? &*found : nullptr;
}

inline std::optional<double> numberAt(const nlohmann::json* parent, std::string_view key) {
    if (parent == nullptr || !parent->is_object()) {
        return std::nullopt;
    }
    const auto found = parent->find(key);
    if (found == parent->end() || !found->is_number()) {
        return std::nullopt;
    }
    return found->get<double>();
}

inline std::optional<std::string> stringAt(const nlohmann::json* parent, std::string_view key) {
    if (parent == nullptr || !parent->is_object()) {
        return std::nullopt;
    }
    const auto found = parent->find(key);
    if (found == parent->end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

// The first of `keys` that holds a string.
inline std::optional<std::string> firstStringAt(const nlohmann::json* parent,
                                                std::initializer_list<std::string_view> keys) {
    for (const auto key : keys) {
        if (auto value = stringAt(parent, key)) {
            return value;
        }
    }
    return std::nullopt;
}

// `first` when present, else `second`.
template <typename T>
std::optional<T> firstPresent(std::optional<T> first, std::optional<T> second) {
    return first ? std::move(first) : std::move(second);
}

} // namespace quillon::json_fields
