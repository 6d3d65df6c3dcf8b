// Any text is a request file, or is refused with its name and a line that it has.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "quarn_radius/send/request_file.h"
#include "testing/check.h"

using namespace quarn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = utils::as_text({data, size});
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    try {
        const quarn_radius::RequestFile file = quarn_radius::parse_request_file(text, "file");
        for (const quarn_radius::FileRequest& request : file.requests) {
            fuzz::require(!request.attributes.empty() || !request.notes.empty(), "no request is empty");
            for (const quarn_radius::FileAttribute& attribute : request.attributes) {
                fuzz::require(!attribute.text.name.empty(), "every attribute has a name");
                fuzz::require(attribute.line >= 1 && attribute.line <= lines, "the file has the line");
            }
        }
    } catch (const std::invalid_argument& error) {
        const std::string message = error.what();
        fuzz::require(message.starts_with("file:"), "a problem names its file", message);
        const unsigned long line = std::stoul(message.substr(5));
        fuzz::require(line >= 1 && line <= lines, "a problem names a line of the file", message);
    }
    return 0;
}
