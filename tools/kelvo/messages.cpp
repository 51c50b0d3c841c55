// SPDX-License-Identifier: Apache-2.0
#include "messages.h"

#include <unistd.h>

#include "exit_code.h"
#include "input.h"
#include "text.h"

namespace kelvo::tool {
namespace {

void read_one(const std::string& where, codec::Bytes bytes, codec::Form form,
              std::vector<SourcedMessage>& messages) {
    try {
        auto found = read_messages(codec::Description::built_in(), bytes, form);
        const bool several = found.size() > 1;
        if (found.empty()) throw Failure(Exit::input, where + ": there is no message in it");
        for (codec::Captured& captured : found) {
            std::string place = several ? where + ", " + captured.place : where;
            messages.push_back({std::move(captured), std::move(place)});
        }
    } catch (const Failure&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw Failure(Exit::input, where + ": " + printable(error.what()));
    }
}

}  // namespace

codec::Form form_of(const std::string& word) {
    if (word == "hex") return codec::Form::hex;
    if (word == "binary") return codec::Form::binary;
    return word == "pcap" ? codec::Form::pcap : codec::Form::automatic;
}

std::optional<codec::Order> order_of(const std::string& word) {
    if (word == "network" || word == "big") return codec::kNetwork;
    if (word == "host") return codec::kNative;
    if (word == "little") return codec::Order::little;
    return std::nullopt;
}

std::vector<SourcedMessage> read_sources(const std::vector<std::string>& arguments,
                                         const std::vector<std::string>& given, codec::Form form,
                                         const std::string& argument_name) {
    std::vector<SourcedMessage> messages;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& text = arguments[i];
        const codec::Bytes bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        read_one("argument " + std::to_string(i + 1), bytes, codec::Form::hex, messages);
    }
    std::vector<std::string> files = given;
    if (files.empty() && arguments.empty()) {
        if (isatty(STDIN_FILENO) != 0) {
            throw Failure(Exit::usage, "nothing to answer: give " + argument_name +
                                           ", --file FILE or standard input");
        }
        files.emplace_back("-");
    }
    for (const std::string& file : files) {
        read_one(printable(name_of_file(file)), read_all(file), form, messages);
    }
    return messages;
}

}  // namespace kelvo::tool
