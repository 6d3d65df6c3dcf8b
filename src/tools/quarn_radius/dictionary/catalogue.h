// Looking attributes up in a dictionary and showing them to a person.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/dictionary.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

/// An attribute as the dictionary has it, and where it was defined.
struct AttributeRecord {
    subscriber::radius::AttributeMetadata metadata;
    std::vector<std::pair<std::string, std::uint32_t>> values;  ///< by number
    Place place;
};

/// The result of a query.
struct Findings {
    enum class Kind {
        One,   ///< an attribute was named: it is shown in full
        List,  ///< a vendor or a pattern was named: one line for each attribute
    } kind = Kind::One;
    std::vector<AttributeRecord> records;  ///< by code
};

/// A vendor, and how much the dictionary has of it.
struct VendorCount {
    subscriber::radius::VendorInfo vendor;
    std::size_t attributes = 0;
};

/// What a query that found nothing may have meant: names that contain it. Those that begin with it stand
/// first, then standard attributes. Values that are it stand before longer ones.
struct Nearby {
    std::vector<std::string> attributes;
    std::vector<std::string> vendors;
    std::vector<std::string> values;  ///< "Tunnel-Type = VLAN"

    bool empty() const { return attributes.empty() && vendors.empty() && values.empty(); }
};

/// A loaded dictionary that remembers where its definitions stand.
class DictionaryCatalogue {
  public:
    /// Throws `FileError` when the dictionary cannot be loaded.
    explicit DictionaryCatalogue(const std::string& path);

    /// Finds, in this order: for "/regex/" every attribute with a part of its name that matches, in any case;
    /// for numbers with dots the attribute at this code; the attribute of this name, in any case; the
    /// attributes of the vendor of this name or number, or of the number in "26.9". Throws
    /// `std::invalid_argument` for a bad regular expression.
    Findings find(const std::string& query) const;

    /// The vendors, by name in any case, with the attributes of each.
    std::vector<VendorCount> vendors() const;

    /// How many attributes belong to no vendor.
    std::size_t standard_attributes() const;

    /// What contains the query, in any case. Nothing for an expression or a code.
    Nearby near(const std::string& query) const;

    /// `, did you mean "Class"?` for a query that found nothing, if something is near.
    std::string suggestion_for(const std::string& query) const;

  private:
    template <typename Predicate>
    std::vector<AttributeRecord> select(Predicate predicate) const;

    subscriber::radius::RadiusDictionary dictionary_;
    std::vector<subscriber::radius::RadiusDictionary::AttributeSource> attributes_;  ///< by code
};

/// Prints the result as text for a terminal.
void print_findings(const Findings& findings, std::ostream& output);

/// Prints the result as JSON lines, an attribute a line. Of a vendor's name and format at most 200 bytes are
/// printed.
void print_findings_json(const Findings& findings, std::ostream& output);

}  // namespace quarn::quarn_radius
