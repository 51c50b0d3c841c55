// SPDX-License-Identifier: Apache-2.0
#include "layout.h"

namespace example {

Layout& Layout::raw(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
}

Layout& Layout::text_body(const std::string& text) {
    return value_body({reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size() + 1});
}

Layout& Layout::value_body(std::span<const std::uint8_t> bytes) {
    return raw(bytes).fill();
}

Layout& Layout::text(const std::string& text) {
    return cell(text.size() + 1).text_body(text);
}

Layout& Layout::value(std::span<const std::uint8_t> bytes) {
    return cell(bytes.size()).value_body(bytes);
}

Layout& Layout::cell(std::size_t length) {
    const auto word = static_cast<std::uint32_t>(length);
    return fixed(kelvo_length_cell{order_ == Order::host ? word : network(word), 0});
}

Layout& Layout::fill() {
    return raw({kelvo_alignment, padded(bytes_.size()) - bytes_.size()});
}

}  // namespace example
