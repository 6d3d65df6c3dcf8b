// Hostile dictionaries for a tool that counts instructions.
//
//     process-dictionary                      lists the shapes, each with its command and number of parts
//     process-dictionary SHAPE PARTS >FILE    makes one
//     process-dictionary COMMAND FILE FOLDER  does what `load`, `check` or `import` does, and tells how many
//     bytes
//                                             of memory it held at most
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/radius/dictionary.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn_radius/dictionary/checker.h"
#include "quarn_radius/dictionary/importer.h"
#include "testing/counted_memory.h"

namespace {

using namespace quarn;

/// What is counted; by this name the tool finds it.
extern "C" [[gnu::noinline]] void measured_work(const std::string* command, const std::string* file,
                                                const std::string* folder);
extern "C" void measured_work(const std::string* command, const std::string* file,
                              const std::string* folder) {
    if (*command == "load") {
        subscriber::radius::RadiusDictionary().load(*file);
    } else if (*command == "check") {
        quarn_radius::check_dictionary(*file);
    } else {
        quarn_radius::Problems problems;
        quarn_radius::import_dictionary({*file, *folder, {}, "schema"}, problems);
    }
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

/// `make(0)` to `make(parts - 1)`, one behind the other.
std::string joined(std::size_t parts, const std::function<std::string(std::size_t)>& make) {
    std::string text;
    for (std::size_t i = 0; i < parts; ++i) {
        text += make(i);
    }
    return text;
}

std::string long_vendor_name(std::size_t parts) {
    return "vendor: {id: 9, name: " + std::string(40 * parts, 'n') + "}\nattributes:\n" +
           joined(parts,
                  [](std::size_t i) { return "  A" + number(i) + ": {code: 26.9." + number(i) + "}\n"; });
}

/// A long scalar under the key of a definition, and many definitions that repeat it.
std::string repeated_text(const std::string& key, const std::string& text, std::size_t parts) {
    return "attributes:\n  A: {" + key + ": &text '" + text + "'}\n" +
           joined(parts, [&](std::size_t i) { return "  A" + number(i) + ": {" + key + ": *text}\n"; });
}

std::string repeated_code(std::size_t parts) {
    return repeated_text("code", "1" + joined(16 * parts, [](std::size_t) { return ".1"; }), parts);
}

std::string repeated_type(std::size_t parts) {
    return repeated_text("type", std::string(40 * parts, 't'), parts);
}

std::string repeated_definition(std::size_t parts) {
    return "x: &all\n" + joined(parts, [](std::size_t i) { return "  k" + number(i) + ": 1\n"; }) +
           "attributes:\n" + joined(parts, [](std::size_t i) { return "  A" + number(i) + ": *all\n"; });
}

std::string repeated_values(std::size_t parts) {
    return "x: &all\n" + joined(parts, [](std::size_t i) { return "  v" + number(i) + ": 1\n"; }) +
           "attributes:\n" +
           joined(parts, [](std::size_t i) { return "  A" + number(i) + ": {values: *all}\n"; });
}

/// One long name in whose values a problem stands on every line.
std::string values_of_a_long_name(std::size_t parts) {
    return "attributes:\n  ? " + std::string(40 * parts, 'n') + "\n  : values:\n" +
           joined(parts, [](std::size_t i) { return "      v" + number(i) + ": x\n"; });
}

/// One long name that many others run up against.
std::string children_of_a_long_name(std::size_t parts) {
    return "attributes:\n  ? " + std::string(40 * parts, 'n') + "\n  : {code: 26.9.1, type: text}\n" +
           joined(parts, [](std::size_t i) {
               return "  A" + number(i) + ": {code: 26.9.1." + number(i) + ", type: text}\n";
           });
}

/// Values that are defined again and again, of an attribute with a long name.
std::string values_defined_again(std::size_t parts) {
    const auto values = [&] {
        return joined(parts, [](std::size_t i) { return "v" + number(i) + ": 1, "; });
    };
    const std::string name(40 * parts, 'n');
    return "attributes:\n  ? " + name + "\n  : {values: {" + values() + values() + "v: 1}}\n";
}

/// The code path 26.`first`.x.y whose `CodePathHash` is that of 26.0.x'.y': for any one there are such
/// numbers.
std::string colliding_code(std::uint32_t first) {
    constexpr std::uint64_t prime = utils::fnv_prime;
    const std::uint64_t base = (((utils::fnv_start ^ 26) * prime) ^ first) * prime;
    for (std::uint64_t high = 0; high < 256; ++high) {
        for (std::uint64_t carry = 0; carry < 435; ++carry) {
            // The upper half of (base ^ x) * prime has to be zero, which y cannot reach.
            const std::uint64_t upper = base >> 32;
            const std::uint64_t wanted = (0 - upper * 435 - carry) & 0xFFFFFFFF;
            const std::uint64_t low = high << 24 | wanted >> 8;
            if (wanted % 256 == 0 && ((low * 435) >> 32) == carry) {
                const std::uint64_t x = (base & 0xFFFFFFFF) ^ low;
                const std::uint64_t y = ((base ^ x) * prime) & 0xFFFFFFFF;
                return "26." + number(first) + "." + number(x) + "." + number(y);
            }
        }
    }
    return "26." + number(first) + ".0.0";
}

std::string colliding_codes(std::size_t parts) {
    return "attributes:\n" + joined(parts, [](std::size_t i) {
               return "  A" + number(i) + ": {code: " + colliding_code(static_cast<std::uint32_t>(i)) + "}\n";
           });
}

/// Names of which the `CaseInsensitiveHash` ends with the same bits.
std::string colliding_names(std::size_t parts) {
    std::string text = "attributes:\n";
    std::size_t found = 0;
    for (std::size_t i = 0; found < parts; ++i) {
        const std::string name = "A" + number(i);
        const std::uint64_t hash = utils::CaseInsensitiveHash()(name);
        if (((hash ^ hash >> 32) & 0x1FFF) == 0) {
            text += "  " + name + ": {code: 1}\n";
            ++found;
        }
    }
    return text;
}

/// One long type name above many others.
std::string children_of_a_long_type(std::size_t parts) {
    return "attributes:\n  A: {code: 26.9.1.0, type: '" + std::string(400 * parts, 't') + "'}\n" +
           joined(parts, [](std::size_t i) {
               return "  A" + number(i) + ": {code: 26.9.1.0." + number(i) + ", type: text}\n";
           });
}

std::string documents(std::size_t parts) {
    return "{}\n" + joined(parts, [](std::size_t) { return "--- a\n"; });
}

std::string imported_values(std::size_t parts) {
    return "ATTRIBUTE Mode 1 integer\n" +
           joined(parts, [](std::size_t i) { return "VALUE Mode v" + number(i) + " " + number(i) + "\n"; });
}

std::string imported_vendors_of_one_number(std::size_t parts) {
    return joined(parts, [](std::size_t i) { return "VENDOR v" + number(i) + " 9\n"; }) + "VENDOR " +
           std::string(40 * parts, 'n') + " 9\nBEGIN-VENDOR v0\nATTRIBUTE A 1 string\nEND-VENDOR v0\n";
}

std::string imported_long_vendor_name(std::size_t parts) {
    const std::string name(400 * parts, 'n');
    return "VENDOR " + name + " 9\nBEGIN-VENDOR " + name + "\n" +
           joined(parts,
                  [](std::size_t i) { return "ATTRIBUTE A" + number(i) + " " + number(i) + " string\n"; }) +
           "END-VENDOR " + name + "\n";
}

std::string imported_flags_of_a_long_name(std::size_t parts) {
    return "ATTRIBUTE " + std::string(200 * parts, 'n') + " 1 string " +
           joined(parts, [](std::size_t i) { return (i == 0 ? "f" : ",f") + number(i); }) + "\n";
}

std::string imported_nested_blocks(std::size_t parts) {
    return "ATTRIBUTE A0 1 tlv\n" + joined(parts, [](std::size_t i) {
               return "BEGIN-TLV A" + number(i) + "\nATTRIBUTE A" + number(i + 1) + " 1 tlv\n";
           });
}

struct Shape {
    std::string_view name;
    std::string_view command;
    std::size_t parts;  ///< enough to show what grows with their square
    std::string (*build)(std::size_t parts);
};

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> all = {
        {"load-long-vendor-name", "load", 300, long_vendor_name},
        {"load-repeated-code", "load", 300, repeated_code},
        {"load-repeated-type", "load", 300, repeated_type},
        {"load-repeated-definition", "load", 600, repeated_definition},
        {"load-repeated-values", "load", 600, repeated_values},
        {"load-values-defined-again", "load", 600, values_defined_again},
        {"load-colliding-codes", "load", 300, colliding_codes},
        {"load-colliding-names", "load", 300, colliding_names},
        {"load-children-of-a-long-type", "load", 300, children_of_a_long_type},
        {"check-long-vendor-name", "check", 300, long_vendor_name},
        {"check-repeated-code", "check", 300, repeated_code},
        {"check-repeated-type", "check", 300, repeated_type},
        {"check-repeated-definition", "check", 200, repeated_definition},
        {"check-values-of-a-long-name", "check", 300, values_of_a_long_name},
        {"check-children-of-a-long-name", "check", 300, children_of_a_long_name},
        {"check-colliding-codes", "check", 300, colliding_codes},
        {"check-children-of-a-long-type", "check", 300, children_of_a_long_type},
        {"check-documents", "check", 300, documents},
        {"import-values", "import", 600, imported_values},
        {"import-vendors-of-one-number", "import", 600, imported_vendors_of_one_number},
        {"import-long-vendor-name", "import", 300, imported_long_vendor_name},
        {"import-flags-of-a-long-name", "import", 300, imported_flags_of_a_long_name},
        {"import-nested-blocks", "import", 300, imported_nested_blocks},
    };
    return all;
}

void make(std::string_view name, std::size_t parts) {
    for (const Shape& shape : shapes()) {
        if (shape.name == name) {
            std::cout << shape.build(parts);
            return;
        }
    }
    throw std::invalid_argument("no such shape");
}

void process(const std::string& command, const std::string& file, const std::string& folder) {
    test::counted_memory() = test::Memory();
    try {
        measured_work(&command, &file, &folder);
    } catch (const std::runtime_error& error) {
        std::cerr << std::string_view(error.what()).substr(0, 200) << '\n';  // a refusal is as good
    }
    std::cout << test::counted_memory().most_held << '\n';
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        if (argc == 1) {
            for (const Shape& shape : shapes()) {
                std::cout << shape.name << ' ' << shape.command << ' ' << shape.parts << '\n';
            }
        } else if (argc == 3) {
            make(argv[1], std::stoul(argv[2]));
        } else {
            process(argv[1], argv[2], argv[3]);
        }
    } catch (const std::exception& error) {
        std::cerr << "process-dictionary: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
