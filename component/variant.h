// A small automation-style variant: values that carry their kind (integer, boolean, double, date,
// text, byte array...) between the host surface, the registry module and the DESFire version query.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace lumivex {

class Variant {
 public:
  enum class Kind {
    Empty,
    Null,
    Byte,
    Int16,
    Int32,
    Bool,
    Single,
    Double,
    Currency,
    Date,
    Text,
    Bytes,
    Error
  };

  struct NullTag {
    bool operator==(const NullTag&) const = default;
  };
  // Currency: a fixed-point amount scaled by 10000, as automation stores it.
  struct CurrencyValue {
    std::int64_t scaled = 0;
    bool operator==(const CurrencyValue&) const = default;
  };
  // Date: days since 1899-12-30, the fraction being the time of day, as automation stores it.
  struct DateValue {
    double days = 0;
    bool operator==(const DateValue&) const = default;
  };
  struct ErrorValue {
    std::int32_t code = 0;
    bool operator==(const ErrorValue&) const = default;
  };

  Variant() = default;
  static Variant Null() { return Variant(NullTag{}); }
  static Variant FromByte(std::uint8_t v) { return Variant(v); }
  static Variant FromInt16(std::int16_t v) { return Variant(v); }
  static Variant FromInt32(std::int32_t v) { return Variant(v); }
  static Variant FromBool(bool v) { return Variant(v); }
  static Variant FromSingle(float v) { return Variant(v); }
  static Variant FromDouble(double v) { return Variant(v); }
  static Variant FromCurrency(std::int64_t scaled) { return Variant(CurrencyValue{scaled}); }
  static Variant FromDate(double days) { return Variant(DateValue{days}); }
  static Variant FromText(std::string v) { return Variant(std::move(v)); }
  static Variant FromBytes(std::vector<std::uint8_t> v) { return Variant(std::move(v)); }
  static Variant FromError(std::int32_t code) { return Variant(ErrorValue{code}); }

  [[nodiscard]] Kind kind() const { return static_cast<Kind>(value_.index()); }

  // Typed access; each returns nullptr when the variant holds another kind.
  [[nodiscard]] const std::uint8_t* AsByte() const { return std::get_if<std::uint8_t>(&value_); }
  [[nodiscard]] const std::int16_t* AsInt16() const { return std::get_if<std::int16_t>(&value_); }
  [[nodiscard]] const std::int32_t* AsInt32() const { return std::get_if<std::int32_t>(&value_); }
  [[nodiscard]] const bool* AsBool() const { return std::get_if<bool>(&value_); }
  [[nodiscard]] const float* AsSingle() const { return std::get_if<float>(&value_); }
  [[nodiscard]] const double* AsDouble() const { return std::get_if<double>(&value_); }
  [[nodiscard]] const CurrencyValue* AsCurrency() const {
    return std::get_if<CurrencyValue>(&value_);
  }
  [[nodiscard]] const DateValue* AsDate() const { return std::get_if<DateValue>(&value_); }
  [[nodiscard]] const std::string* AsText() const { return std::get_if<std::string>(&value_); }
  [[nodiscard]] const std::vector<std::uint8_t>* AsBytes() const {
    return std::get_if<std::vector<std::uint8_t>>(&value_);
  }
  [[nodiscard]] const ErrorValue* AsError() const { return std::get_if<ErrorValue>(&value_); }

  // The automation conversion to an unsigned byte: numbers 0..255 (fractions rounded half to
  // even), booleans (true is -1 and so does not fit), texts holding such a number. nullopt when
  // the value does not convert.
  [[nodiscard]] std::optional<std::uint8_t> ToByte() const;
  // The automation conversion to a 32-bit integer, with the same rules.
  [[nodiscard]] std::optional<std::int32_t> ToInt32() const;

  bool operator==(const Variant&) const = default;

 private:
  using Storage = std::variant<std::monostate, NullTag, std::uint8_t, std::int16_t, std::int32_t,
                               bool, float, double, CurrencyValue, DateValue, std::string,
                               std::vector<std::uint8_t>, ErrorValue>;
  template <typename T>
  explicit Variant(T v) : value_(std::move(v)) {}
  Storage value_;
};

}  // namespace lumivex
