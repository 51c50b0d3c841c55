// SPDX-License-Identifier: Apache-2.0
#include "capture.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>

#include "kelvo_common_msg.h"

namespace kelvo::codec {
namespace {

constexpr int kUpperPdu = 252;
constexpr int kUser0 = 147;
/// The longest packet that programs take.
constexpr int kMostBytes = 262144;
/// The most that one '*' of a dump may stand for, so that a few digits cannot take all memory.
constexpr std::uint64_t kMostRepeated = 64 << 20;

// Tags of WIRESHARK_UPPER_PDU: number and length, both big-endian 16 bits, then the value.
constexpr std::uint32_t kTagEnd = 0;
constexpr std::uint32_t kTagDissector = 12;

bool is_capture(Bytes input) {
    static const std::uint32_t kMagics[] = {0xa1b2c3d4, 0xd4c3b2a1, 0xa1b23c4d, 0x4d3cb2a1,
                                            0x0a0d0d0a};
    if (input.size() < 4) return false;
    const auto magic = static_cast<std::uint32_t>(load(input.first(4), Order::big));
    return std::find(std::begin(kMagics), std::end(kMagics), magic) != std::end(kMagics);
}

int digit(char character) {
    if (std::isxdigit(static_cast<unsigned char>(character)) == 0) return -1;
    return character <= '9' ? character - '0' : (character | 0x20) - 'a' + 10;
}

/// The number that a text is in hexadecimal digits, if it is one.
std::optional<std::uint32_t> offset_from(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    const bool is_number = error == std::errc() && end == text.data() + text.size();
    return is_number ? std::optional(number) : std::nullopt;
}

std::string_view trimmed(std::string_view line) {
    const std::size_t begin = std::min(line.find_first_not_of(" \t\r"), line.size());
    return line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin);
}

/// A line of hexadecimal text: its offset (before ':' or in hexdump's 8 digits) and its digits,
/// without the bytes as text.
struct Row {
    std::optional<std::uint32_t> offset;
    std::string_view digits;
};

Row row_of(std::string_view line) {
    const std::size_t colon = line.find(':');
    const bool has_colon = colon != std::string_view::npos &&
                           std::all_of(line.begin(), line.begin() + static_cast<int>(colon),
                                       [](char c) { return digit(c) >= 0; });
    if (has_colon) {
        const auto offset = offset_from(line.substr(0, colon));
        line.remove_prefix(colon + 1);
        while (!line.empty() && line[0] == ' ') line.remove_prefix(1);
        return {offset, line.substr(0, line.find("  "))};
    }
    const bool has_bar = line.size() > 2 && line.find('|') != std::string_view::npos;
    if (has_bar) line = line.substr(0, line.find('|'));
    const bool has_offset = line.size() >= 8 && line.substr(0, 10).find(' ') == 8 &&
                            (has_bar || line.substr(8, 2) == "  ");
    if (!has_offset) return {std::nullopt, line};
    return {offset_from(line.substr(0, 8)), line.substr(8)};
}

class HexReader {
  public:
    /// @return false for a line that is no such text
    bool line(std::string_view line) {
        ++number_;
        if (trimmed(line).empty()) return end();
        line = line.substr(0, line.find('#'));
        const std::string_view text = trimmed(line);
        if (text.empty()) return true;
        if (text == "*" && row_end_) return repeats_ = true;
        if (is_end_of_dump(text)) return repeat_until(*offset_from(text)) && end();
        const Row row = row_of(line);
        if (repeats_ && !repeat_until(row.offset)) return false;
        const std::size_t before = bytes_.size();
        if (!add(row.digits)) return false;
        row_size_ = bytes_.size() - before;
        row_end_ = row.offset;
        if (row_end_) *row_end_ += row_size_;
        return true;
    }
    /// The message is over.
    bool end() {
        if (repeats_) return repeat_until(std::nullopt);
        row_end_.reset();
        if (bytes_.empty()) return true;
        const std::string place = "message " + std::to_string(messages.size() + 1);
        messages.push_back({std::move(bytes_), nullptr, place});
        bytes_.clear();
        return true;
    }
    [[nodiscard]] const std::string& wrong() const { return wrong_; }

    std::vector<Captured> messages;

  private:
    bool add(std::string_view digits) {
        if (digits.starts_with("0x")) digits.remove_prefix(2);
        int high = -1;
        for (const char character : digits) {
            if (character == ' ' || character == '\t' || character == '\r') continue;
            const int value = digit(character);
            if (value < 0) {
                std::string why = "'?' is no hexadecimal digit";
                why[1] = character;
                return refuse(why);
            }
            if (high < 0) {
                high = value;
            } else {
                bytes_.push_back(static_cast<std::uint8_t>(high << 4 | value));
                high = -1;
            }
        }
        return high < 0 || refuse("an odd number of hexadecimal digits");
    }

    /// hexdump ends with the offset behind the last byte, alone in its line.
    [[nodiscard]] bool is_end_of_dump(std::string_view text) const {
        const auto offset = offset_from(text);
        if (!row_end_ || !offset || text.size() != 8) return false;
        return *offset == *row_end_ || (repeats_ && *offset > *row_end_);
    }

    /// A '*' stands for rows like the one before it, up to the next offset.
    bool repeat_until(std::optional<std::uint32_t> offset) {
        repeats_ = false;
        if (!offset || *offset < *row_end_ || row_size_ == 0) {
            return refuse(
                "an offset behind the rows before '*' is due, to tell how many it is for");
        }
        const std::uint64_t repeated = *offset - *row_end_;
        if (repeated > kMostRepeated) {
            return refuse("'*' would stand for " + std::to_string(repeated) + " bytes; at most " +
                          std::to_string(kMostRepeated) + " can be left out");
        }
        for (std::uint64_t left = repeated; left > 0; --left) {
            bytes_.push_back(bytes_[bytes_.size() - row_size_]);
        }
        return true;
    }

    bool refuse(const std::string& why) {
        wrong_ = "line " + std::to_string(number_) + ": " + why;
        return false;
    }

    std::vector<std::uint8_t> bytes_;
    std::string wrong_;
    std::size_t number_ = 0;
    std::size_t row_size_ = 0;              ///< bytes of the row before
    std::optional<std::uint64_t> row_end_;  ///< the offset behind it, when it began with one
    bool repeats_ = false;                  ///< behind a '*'
};

/// Hexadecimal text; what is wrong with it when it is none.
std::vector<Captured> read_hex(std::string_view text, std::string* wrong) {
    HexReader reader;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (!reader.line(text.substr(0, end))) {
            *wrong = reader.wrong();
            return {};
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (!reader.end()) {
        *wrong = reader.wrong();
        return {};
    }
    return std::move(reader.messages);
}

/// What a packet of an upper PDU begins with. @return the dissector's name
std::string take_tags(Bytes& packet, const std::string& place) {
    std::string name;
    for (;;) {
        if (packet.size() < 4) throw std::runtime_error(place + ": its tags have no end");
        const auto tag = static_cast<std::uint32_t>(load(packet.first(2), Order::big));
        const auto length = static_cast<std::size_t>(load(packet.subspan(2, 2), Order::big));
        packet = packet.subspan(4);
        if (tag == kTagEnd) return name;
        if (packet.size() < length) throw std::runtime_error(place + ": its tags have no end");
        if (tag == kTagDissector) {
            name.assign(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(length));
            name.resize(std::min(name.find('\0'), name.size()));
        }
        packet = packet.subspan(length);
    }
}

Captured from_packet(const Description& description, int link_type, Bytes packet,
                     const std::string& place) {
    Captured captured;
    captured.place = place;
    if (link_type == kUpperPdu) {
        const std::string name = take_tags(packet, place);
        if (name != "kelvo") {
            captured.message =
                name.starts_with("kelvo.") ? description.find(name.substr(6)) : nullptr;
            if (captured.message == nullptr) {
                throw std::runtime_error(place + ": it is for the dissector '" + name +
                                         "'; kelvo and kelvo.NAME are due");
            }
        }
    }
    captured.bytes.assign(packet.begin(), packet.end());
    return captured;
}

std::vector<Captured> read_capture(const Description& description, Bytes input) {
    std::vector<std::uint8_t> copy(input.begin(), input.end());
    std::FILE* const file = fmemopen(copy.data(), copy.size(), "rb");
    if (file == nullptr) throw std::runtime_error("the capture cannot be opened");
    char error[PCAP_ERRBUF_SIZE];
    pcap_t* const opened = pcap_fopen_offline(file, error);
    if (opened == nullptr) {
        std::fclose(file);
        throw std::runtime_error(error);
    }
    const std::unique_ptr<pcap_t, void (*)(pcap_t*)> pcap(opened, pcap_close);
    const int link_type = pcap_datalink(opened);
    if (link_type != kUpperPdu && link_type != kUser0) {
        const char* const known = pcap_datalink_val_to_name(link_type);
        throw std::runtime_error("a capture of link type " + std::to_string(link_type) + " (" +
                                 (known == nullptr ? "unknown" : known) +
                                 "); messages come in 252 (WIRESHARK_UPPER_PDU) or 147 (USER0)");
    }
    std::vector<Captured> messages;
    for (;;) {
        pcap_pkthdr* header = nullptr;
        const std::uint8_t* data = nullptr;
        const int got = pcap_next_ex(opened, &header, &data);
        if (got == PCAP_ERROR_BREAK) return messages;
        if (got != 1) throw std::runtime_error(pcap_geterr(opened));
        const std::string place = "packet " + std::to_string(messages.size() + 1);
        messages.push_back(from_packet(description, link_type, Bytes(data, header->caplen), place));
    }
}

}  // namespace

std::vector<Captured> read_messages(const Description& description, Bytes input, Form form) {
    if (form == Form::pcap || (form == Form::automatic && is_capture(input))) {
        return read_capture(description, input);
    }
    if (form != Form::binary) {
        std::string wrong;
        auto messages =
            read_hex({reinterpret_cast<const char*>(input.data()), input.size()}, &wrong);
        if (wrong.empty()) return messages;
        // A text that is no message is a mistake in it; bytes are a message.
        const bool is_text = std::all_of(input.begin(), input.end(), [](std::uint8_t byte) {
            return byte >= 0x20 || byte == '\n' || byte == '\r' || byte == '\t';
        });
        if (form == Form::hex || is_text) throw std::runtime_error(wrong);
    }
    return {{{input.begin(), input.end()}, nullptr, "message 1"}};
}

struct CaptureWriter::Pcap {
    pcap_t* pcap;
    pcap_dumper_t* dumper;
};

CaptureWriter::CaptureWriter(std::FILE* file) : pcap_(new Pcap{}) {
    pcap_->pcap = pcap_open_dead(kUpperPdu, kMostBytes);
    pcap_->dumper = pcap_dump_fopen(pcap_->pcap, file);
    if (pcap_->dumper == nullptr) {
        const std::string error = pcap_geterr(pcap_->pcap);
        pcap_close(pcap_->pcap);
        delete pcap_;
        throw std::runtime_error(error);
    }
}

CaptureWriter::~CaptureWriter() {
    pcap_dump_close(pcap_->dumper);
    pcap_close(pcap_->pcap);
    delete pcap_;
}

void CaptureWriter::add(const Description& description, const Message& message, Bytes bytes) {
    std::string name = dissector_of(description, message, bytes);
    name.resize((name.size() + 3) & ~std::size_t{3});
    std::vector<std::uint8_t> packet = {0, kTagDissector, 0,
                                        static_cast<std::uint8_t>(name.size())};
    packet.insert(packet.end(), name.begin(), name.end());
    packet.insert(packet.end(), {0, kTagEnd, 0, 0});
    packet.insert(packet.end(), bytes.begin(), bytes.end());
    if (packet.size() > kMostBytes) {
        throw std::runtime_error("a message of " + std::to_string(bytes.size()) +
                                 " bytes is too long for a packet, which takes " +
                                 std::to_string(kMostBytes));
    }
    // One packet a second, so that programs show them in order.
    pcap_pkthdr header{};
    header.ts.tv_sec = ++packets_;
    header.caplen = header.len = static_cast<std::uint32_t>(packet.size());
    pcap_dump(reinterpret_cast<std::uint8_t*>(pcap_->dumper), &header, packet.data());
}

void CaptureWriter::finish() {
    if (pcap_dump_flush(pcap_->dumper) != 0) throw std::runtime_error(std::strerror(errno));
}

std::string dissector_of(const Description& description, const Message& message, Bytes bytes) {
    const bool told = message.has_header && decode(description, bytes, {}).message == &message;
    return told ? "kelvo" : "kelvo." + message.name;
}

}  // namespace kelvo::codec
