// SPDX-License-Identifier: Apache-2.0
//
// An operation, with every allocation and every platform call that it makes failing in turn: each
// alone, and each with all that follow it. A row of a table says how to make the operation's
// arguments and what becomes of a failure; the rest is the same for all of them:
//
// - the status, and what is logged
// - outputs and objects, as text: unchanged, unless the row says otherwise
// - nothing left allocated, unless the row says so
// - the same call on the same objects then does what it does where nothing fails
//
// Which calls of the library were made to fail is written down (platform/failed_sites.h), and a
// check compares them with all the calls that there are.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kelvo_status.h"
#include "platform/failed_sites.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/startup_lists.h"

namespace kelvo::test {

/// What fails.
struct Fault {
    enum What { allocation, service } what;
    std::string name;    ///< of the service, or of the object file that asks for memory
    std::size_t number;  ///< counted from 0
    bool once;           ///< or from then on

    [[nodiscard]] bool is_memory() const { return what == allocation; }
    /// Whether the regular-expression engine asks for memory.
    [[nodiscard]] bool is_engines() const { return name.starts_with("libonig"); }
};

inline std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << (fault.is_memory() ? "allocation " : "platform call ") << fault.number << " ("
               << fault.name << (fault.once ? ") fails" : ") and all later ones fail");
}

/// What becomes of it.
struct Expected {
    kelvo_status status = 0;
    std::optional<std::string> seen;  ///< nothing: what was seen before the call
    std::vector<std::string> log;
    long kept = 0;               ///< blocks that nobody can release any more
    bool repeated = true;        ///< the call is made again and does what it should have done
    const char* dies = nullptr;  ///< the end of the process, with this on its standard error

    Expected& logs(std::vector<std::string> lines) {
        log = std::move(lines);
        return *this;
    }
    Expected& keeps(long blocks) {
        kept = blocks;
        return *this;
    }
};

/// The call is refused, and everything is as it was.
inline Expected refused_with(kelvo_status status) {
    Expected expected;
    expected.status = status;
    return expected;
}
/// The call ends so, with this to be seen, and is not to be repeated.
inline Expected leaves(std::string seen, kelvo_status status = 0) {
    Expected expected;
    expected.status = status;
    expected.seen = std::move(seen);
    expected.repeated = false;
    return expected;
}
inline Expected dies(const char* text) {
    Expected expected;
    expected.dies = text;
    return expected;
}
/// How the rule goes: no memory, or the service's own status.
inline Expected by_rule(const Fault& fault) {
    return refused_with(fault.is_memory() ? KELVO_ERR_NO_MEMORY : kServiceRefused);
}

/// What a row's operation works on. Each call gets new arguments, which release in the end what the
/// caller has to release.
class Arguments {
  public:
    Arguments() = default;
    virtual ~Arguments() = default;
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    virtual kelvo_status call() = 0;
    /// Outputs and objects.
    [[nodiscard]] virtual std::string seen() const = 0;
};

struct Operation {
    const char* name;  ///< of letters, digits and underscores
    std::function<std::unique_ptr<Arguments>()> make;
    std::function<Expected(const Fault&)> expected;
};

inline std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    return out << operation.name;
}
inline std::string name_of(const testing::TestParamInfo<Operation>& row) {
    return row.param.name;
}

inline std::string show(const char* text) {
    return text == nullptr ? "null " : "\"" + std::string(text) + "\" ";
}
inline std::string show(std::uint64_t number) {
    return std::to_string(number) + " ";
}

/// A row whose arguments are of class `State`, which has a seen() and releases itself.
template <class State, class Call>
Operation row(const char* name, Call call,
              std::function<Expected(const Fault&)> expected = by_rule) {
    class Row : public Arguments {
      public:
        explicit Row(Call function) : call_(function) {}
        kelvo_status call() override { return call_(state_); }
        [[nodiscard]] std::string seen() const override { return state_.seen(); }

      private:
        Call call_;
        State state_;
    };
    return {name, [call] { return std::make_unique<Row>(call); }, std::move(expected)};
}

/// A text that an operation hands out, and a word.
struct TextOut {
    static inline char untouched[] = "untouched";
    char* text = untouched;
    std::uint32_t word = 4711;

    TextOut() = default;
    ~TextOut() {
        if (text != untouched) std::free(text);
    }
    TextOut(const TextOut&) = delete;
    TextOut& operator=(const TextOut&) = delete;
    [[nodiscard]] std::string seen() const { return show(text) + show(word); }
};

/// An operation in use: its arguments and the blocks allocated for them.
class Attempt {
  public:
    explicit Attempt(const Operation& operation) {
        platform().reset();
        const FailingMemory counting;
        arguments_ = operation.make();
        blocks_ = FailingMemory::outstanding();
    }

    /// Calls once, with a failure or none.
    kelvo_status call(const Fault* fault = nullptr) {
        const bool fails_memory = fault != nullptr && fault->is_memory();
        const bool fails_service = fault != nullptr && !fault->is_memory();
        const std::size_t count = fault != nullptr && fault->once ? 1 : FailingMemory::kNever;
        const FailingServices services(fails_service ? fault->number : FailingServices::kNever,
                                       count);
        const FailingMemory memory(fails_memory ? fault->number : FailingMemory::kNever, count);
        const kelvo_status status = arguments_->call();
        const FailingMemory::Pause pause;
        blocks_ += FailingMemory::outstanding();
        note_faults();
        return status;
    }

    /// Releases. @return the blocks that are left
    long release() {
        const FailingMemory counting;
        arguments_.reset();
        return blocks_ + FailingMemory::outstanding();
    }

    [[nodiscard]] std::string seen() const { return arguments_->seen(); }
    /// What could fail in the last call.
    [[nodiscard]] const std::vector<Fault>& faults() const { return faults_; }

  private:
    void note_faults() {
        faults_.clear();
        const auto add = [this](Fault::What what, const std::string& name, std::size_t number) {
            faults_.push_back({what, name, number, true});
            faults_.push_back({what, name, number, false});
        };
        const auto requests = FailingMemory::requests();
        ASSERT_EQ(requests.size(), FailingMemory::allocations()) << "more than can be told apart";
        for (std::size_t n = 0; n < requests.size(); ++n) {
            add(Fault::allocation, file_of(requests[n].caller), n);
        }
        const auto called = FailingServices::called();
        for (std::size_t n = 0; n < called.size(); ++n) add(Fault::service, called[n], n);
    }

    std::unique_ptr<Arguments> arguments_;
    long blocks_ = 0;
    std::vector<Fault> faults_;
};

/// One failure, and what becomes of it. `after` is what is to be seen of a call that succeeds.
inline void expect_failure(const Operation& operation, const Fault& fault,
                           const std::string& after) {
    SCOPED_TRACE(testing::Message() << operation.name << ", " << fault);
    Attempt attempt(operation);
    const Expected expected = operation.expected(fault);
    if (expected.dies != nullptr) {
        EXPECT_DEATH((void)attempt.call(&fault), expected.dies);
        EXPECT_EQ(attempt.release(), 0);
        return;
    }
    const std::string before = attempt.seen();
    {
        std::optional<LeaksAreMeant> lost;
        if (expected.kept != 0) lost.emplace();
        EXPECT_EQ(attempt.call(&fault), expected.status);
    }
    EXPECT_EQ(attempt.seen(), expected.seen.value_or(before));
    EXPECT_EQ(platform().log_texts(), expected.log);
    if (expected.repeated) {
        EXPECT_EQ(attempt.call(), 0U) << "the same once more";
        EXPECT_EQ(attempt.seen(), after) << "the same once more";
    }
    EXPECT_EQ(attempt.release(), expected.kept) << "blocks left allocated";
}

inline void expect_every_failure(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    (void)Attempt(operation).call();  // what is made once per process is made now
    Attempt whole(operation);
    EXPECT_EQ(whole.call(), 0U);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>());
    const std::string after = whole.seen();
    EXPECT_EQ(whole.release(), 0) << "blocks left where nothing failed";
    ASSERT_FALSE(whole.faults().empty()) << "nothing can fail";
    for (const Fault& fault : whole.faults()) expect_failure(operation, fault, after);
}

/// A table of operations.
class EveryFailure : public testing::TestWithParam<Operation> {};

TEST_P(EveryFailure, IsAnsweredAsTheContractSays) {
    expect_every_failure(GetParam());
}

}  // namespace kelvo::test
