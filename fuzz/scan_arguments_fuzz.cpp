#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "Producer.h"
#include "programs/base/Error.h"
#include "programs/scan/OptionValue.h"

// A device option's description, taken from the bytes as a backend might give it, and a value for it. An Error is a
// right answer; a value that comes out must be one that the description allows.

namespace {

using namespace platen_tool;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Description {
    SANE_Option_Descriptor option{};
    SANE_Range range{};
    std::vector<SANE_Word> words;
    std::vector<std::string> names;
    std::vector<SANE_String_Const> pointers;
};

void TakeConstraint(platen_fuzz::Producer& producer, Description& d) {
    const bool numeric = d.option.type == SANE_TYPE_INT || d.option.type == SANE_TYPE_FIXED;
    if (numeric && producer.Flip()) {
        d.range = {producer.Take<SANE_Word>(), producer.Take<SANE_Word>(), producer.Take<SANE_Word>()};
        d.option.constraint_type = SANE_CONSTRAINT_RANGE;
        d.option.constraint.range = &d.range;
    } else if (numeric && producer.Flip()) {
        d.words = {static_cast<SANE_Word>(producer.Between(0, 5))};
        for (SANE_Word i = 0; i < d.words[0]; ++i) {
            d.words.push_back(producer.Take<SANE_Word>());
        }
        d.option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
        d.option.constraint.word_list = d.words.data();
    } else if (d.option.type == SANE_TYPE_STRING && producer.Flip()) {
        d.names = {"Gray", "Color", "auto", ""};
        for (const std::string& name : d.names) {
            d.pointers.push_back(name.c_str());
        }
        d.pointers.push_back(nullptr);
        d.option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
        d.option.constraint.string_list = d.pointers.data();
    }
}

void Check(const Description& d, const OptionValue& value) {
    const SANE_Option_Descriptor& option = d.option;
    if (value.action == SANE_ACTION_SET_AUTO) {
        Require((option.cap & SANE_CAP_AUTOMATIC) != 0);
        return;
    }
    if (option.type == SANE_TYPE_STRING) {
        Require(value.text.size() == static_cast<std::size_t>(option.size) && value.text.back() == '\0');
        Require(option.constraint_type != SANE_CONSTRAINT_STRING_LIST ||
                std::find(d.names.begin(), d.names.end(), value.text.data()) != d.names.end());
        return;
    }
    if (option.type != SANE_TYPE_INT && option.type != SANE_TYPE_FIXED) {
        Require(value.words.size() == 1);
        return;
    }
    Require(value.words.size() == WordCount(option));
    for (const SANE_Word word : value.words) {
        Require(option.constraint_type != SANE_CONSTRAINT_RANGE || d.range.min > d.range.max ||
                (word >= d.range.min && word <= d.range.max));
        Require(option.constraint_type != SANE_CONSTRAINT_WORD_LIST ||
                std::find(d.words.begin() + 1, d.words.end(), word) != d.words.end());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::Producer producer(data, size);
    Description d;
    d.option.name = producer.Flip() ? "gamma-table" : "thing";
    d.option.type = static_cast<SANE_Value_Type>(producer.Between(0, 5));
    d.option.unit = static_cast<SANE_Unit>(producer.Between(0, 6));
    d.option.size = static_cast<SANE_Int>(producer.Between(0, 2000)) - 4;
    d.option.cap = producer.Flip() ? SANE_CAP_AUTOMATIC : 0;
    TakeConstraint(producer, d);
    std::string value;
    while (producer.Left() > 0) {
        value += static_cast<char>(producer.Take<std::uint8_t>());
    }
    if (!value.empty() && value[0] == '@') {
        value[0] = ' ';  // no files from here
    }
    try {
        Check(d, ParseOptionValue("--set", d.option, value));
    } catch (const Error& error) {
        Require(error.Code() == ExitCode::kUsage && error.what()[0] != '\0');
    }
    return 0;
}
