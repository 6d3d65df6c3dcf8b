// A value, or the reason why there is none.
//
//     Result<Endpoint, EndpointError> parsed = parse_endpoint(text);
//     if (!parsed) {
//         return usage(parsed.error().message);
//     }
//     connect_to(parsed->host);
#pragma once

#include <type_traits>
#include <utility>
#include <variant>

namespace quarn::utils {

/// Holds a `Value` or an `Error`. Asking for the one that is not there throws `std::bad_variant_access`.
template <typename Value, typename Error>
class [[nodiscard]] Result {
    static_assert(!std::is_same_v<Value, Error>, "a value and an error have to be told apart");

  public:
    /// A success.
    Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
    /// A failure.
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

    /// Whether there is a value.
    bool has_value() const { return content_.index() == 0; }
    explicit operator bool() const { return has_value(); }  ///< see `has_value`

    const Value& operator*() const& { return std::get<0>(content_); }    ///< the value
    Value& operator*() & { return std::get<0>(content_); }               ///< the value
    Value&& operator*() && { return std::get<0>(std::move(content_)); }  ///< the value, to move from
    const Value* operator->() const { return &std::get<0>(content_); }   ///< the value's members
    Value* operator->() { return &std::get<0>(content_); }               ///< the value's members
    const Error& error() const { return std::get<1>(content_); }         ///< why there is no value

  private:
    std::variant<Value, Error> content_;
};

}  // namespace quarn::utils
