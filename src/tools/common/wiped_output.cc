#include "common/wiped_output.h"

#include <cstddef>
#include <string_view>

#include "quarn/utils/file_descriptor.h"
#include "quarn/utils/secret.h"

namespace quarn::tools {

WipingBuffer::WipingBuffer(int descriptor) : descriptor_(descriptor) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

WipingBuffer::~WipingBuffer() {
    WipingBuffer::sync();
}

WipingBuffer::int_type WipingBuffer::overflow(int_type character) {
    if (sync() != 0) {
        return traits_type::eof();
    }
    return traits_type::eq_int_type(character, traits_type::eof())
               ? traits_type::not_eof(character)
               : sputc(traits_type::to_char_type(character));
}

int WipingBuffer::sync() {
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    const bool is_written = utils::write_all(descriptor_, std::string_view(pbase(), size));
    utils::wipe(pbase(), size);
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return is_written ? 0 : -1;
}

}  // namespace quarn::tools
