#include "Sequences.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <utility>

namespace platen_test {

namespace {

// Steps with simpler ones: each number becomes 0, or half as much.
rc::Seq<rc::Shrinkable<Step>> Simpler(const Step& step) {
    std::vector<rc::Shrinkable<Step>> simpler;
    const auto with = [&](std::uint32_t Step::*field) {
        for (const std::uint32_t value : {std::uint32_t{0}, step.*field / 2, step.*field - 1}) {
            if (step.*field != 0 && (value == 0 || value != step.*field / 2 || step.*field > 1)) {
                Step less = step;
                less.*field = value;
                simpler.push_back(rc::shrinkable::just(std::move(less)));
            }
        }
    };
    with(&Step::number);
    with(&Step::who);
    with(&Step::seed);
    return rc::seq::fromContainer(std::move(simpler));
}

rc::Shrinkable<Step> Shrinking(const Step& step) {
    return rc::shrinkable::shrinkRecur(Step(step), [](const Step& s) {
        return rc::seq::map(Simpler(s), [](rc::Shrinkable<Step>&& simpler) { return simpler.value(); });
    });
}

// Numbers are as often small as of any size.
rc::Gen<Step> AnyStep() {
    return [](const rc::Random& random, int) {
        rc::Random numbers = random;
        const std::uint64_t a = numbers.next();
        const std::uint64_t b = numbers.next();
        const auto number = static_cast<std::uint32_t>(b);
        return Shrinking({static_cast<std::uint32_t>(a & 0xFF), static_cast<std::uint32_t>(a >> 8 & 0xFF),
                          (a >> 16 & 1) != 0 ? number % 300 : number, static_cast<std::uint32_t>(b >> 32)});
    };
}

std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

}  // namespace

static std::ostream& operator<<(std::ostream& out, const Step& step) {
    return out << "{" << step.call << ", " << step.who << ", " << step.number << ", " << step.seed << "}";
}

void CheckSequences(const char* name, const std::function<void(const Steps&)>& walk, int sequences, int size) {
    rc::detail::TestParams params;
    params.seed = FromEnvironment("PLATEN_MODEL_SEED", 1);
    params.maxSuccess =
        static_cast<int>(FromEnvironment("PLATEN_MODEL_SEQUENCES", static_cast<std::uint64_t>(sequences)));
    params.maxSize = size;
    rc::detail::TestMetadata about;
    about.description = name;
    const auto result =
        rc::detail::checkTestable([&walk] { walk(*rc::gen::container<Steps>(AnyStep())); }, about, params);
    if (!result.template is<rc::detail::SuccessResult>()) {
        std::ostringstream text;
        rc::detail::printResultMessage(result, text);
        FAIL() << name << ", seed " << params.seed << "\n" << text.str();
    }
    std::cout << name << ": " << params.maxSuccess << " sequences\n";
}

}  // namespace platen_test
