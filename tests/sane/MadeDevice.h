#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "StandInTest.h"

namespace platen_test {

inline constexpr SANE_Int kUsualCapabilities = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;

// An option of the device, with its value.
struct Made {
    std::string name;
    SANE_Value_Type type = SANE_TYPE_INT;
    std::vector<SANE_Word> words = {0};
    std::string text;
    SANE_Unit unit = SANE_UNIT_NONE;
    SANE_Int capabilities = kUsualCapabilities;
    std::vector<const char*> list;  // of texts; ends with null
    const SANE_Range* range = nullptr;
    const SANE_Word* numbers = nullptr;  // that are allowed, their number first
    void (*change)(SANE_Option_Descriptor&) = nullptr;
    SANE_Int size = -100;  // instead of what its value takes
    const char* about = "";
    const char* heading = nullptr;
    bool nameless = false;
};

class MadeDeviceTest : public StandInTest {
  protected:
    // The device has these options from now on, beside the one that counts them.
    void Make(const std::vector<Made>& made) {
        made_ = made;
        Hooks().describe = [this](SANE_Option_Descriptor* options, SANE_Int& count) {
            ASSERT_LT(made_.size(), static_cast<std::size_t>(count));
            count = static_cast<SANE_Int>(made_.size()) + 1;
            for (std::size_t i = 0; i < made_.size(); ++i) {
                Describe(made_[i], options[i + 1]);
            }
        };
        Hooks().control = [this](const std::string& title, SANE_Action action, void* value,
                                 SANE_Int& info) -> Answer {
            const auto found =
                std::find_if(made_.begin(), made_.end(), [&](const Made& one) { return title == Title(one); });
            if (found == made_.end()) {
                return std::nullopt;
            }
            return Control(*found, action, value, info);
        };
        asked.clear();
    }

    // What was set: "NAME=1,2", "NAME=TEXT", "NAME auto".
    Calls asked;
    SANE_Status answer = SANE_STATUS_GOOD;  // to what is set
    SANE_Int told = 0;
    SANE_Status reading = SANE_STATUS_GOOD;  // a value
    // What the device makes of a number that is set, null where it chooses by itself.
    std::function<void(const std::string& name, const SANE_Word* word)> takes;

    SANE_Word& WordOf(const std::string& name) {
        return std::find_if(made_.begin(), made_.end(), [&](const Made& one) { return one.name == name; })
            ->words[0];
    }

  private:
    static const char* Title(const Made& one) {
        return one.heading != nullptr ? one.heading : one.name.c_str();
    }

    static void Describe(Made& one, SANE_Option_Descriptor& option) {
        option = {};
        option.name = one.nameless ? nullptr : one.name.c_str();
        option.title = Title(one);
        option.desc = one.about;
        option.type = one.type;
        option.unit = one.unit;
        option.cap = one.capabilities;
        option.size = one.type == SANE_TYPE_STRING ? 20
                      : one.type == SANE_TYPE_BUTTON || one.type == SANE_TYPE_GROUP
                          ? 0
                          : static_cast<SANE_Int>(one.words.size() * sizeof(SANE_Word));
        option.size = one.size != -100 ? one.size : option.size;
        if (!one.list.empty()) {
            option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
            option.constraint.string_list = one.list.data();
        }
        if (one.range != nullptr) {
            option.constraint_type = SANE_CONSTRAINT_RANGE;
            option.constraint.range = one.range;
        }
        if (one.numbers != nullptr) {
            option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
            option.constraint.word_list = one.numbers;
        }
        if (one.change != nullptr) {
            one.change(option);
        }
    }

    SANE_Status Control(Made& one, SANE_Action action, void* data, SANE_Int& info) {
        if (action == SANE_ACTION_GET_VALUE) {
            if (one.type == SANE_TYPE_STRING) {
                std::memcpy(data, one.text.c_str(), one.text.size() + 1);
            } else {
                std::memcpy(data, one.words.data(), one.words.size() * sizeof(SANE_Word));
            }
            return reading;
        }
        if (action == SANE_ACTION_SET_AUTO) {
            asked.push_back(one.name + " auto" + (data == nullptr ? "" : "?"));
        } else if (one.type == SANE_TYPE_STRING) {
            asked.push_back(one.name + "=" + static_cast<char*>(data));
        } else {
            std::string words = one.name + "=";
            for (std::size_t i = 0; i < one.words.size(); ++i) {
                words += (i > 0 ? "," : "") + std::to_string(static_cast<SANE_Word*>(data)[i]);
            }
            asked.push_back(words);
        }
        info = told;
        if (takes && answer == SANE_STATUS_GOOD && one.type != SANE_TYPE_STRING) {
            takes(one.name, action == SANE_ACTION_SET_AUTO ? nullptr : static_cast<SANE_Word*>(data));
        }
        return answer;
    }

    std::vector<Made> made_;
};

inline Made Text(const std::string& name, std::vector<const char*> list, const std::string& text = "") {
    Made made;
    made.name = name;
    made.type = SANE_TYPE_STRING;
    made.text = text;
    made.list = std::move(list);
    return made;
}

inline Made Number(const std::string& name, SANE_Word word, SANE_Value_Type type = SANE_TYPE_INT,
                   SANE_Unit unit = SANE_UNIT_NONE) {
    Made made;
    made.name = name;
    made.type = type;
    made.words = {word};
    made.unit = unit;
    return made;
}

inline Made Changed(Made made, void (*change)(Made&)) {
    change(made);
    return made;
}

inline constexpr void (*kInactive)(Made&) = [](Made& made) { made.capabilities |= SANE_CAP_INACTIVE; };
inline constexpr void (*kReadOnly)(Made&) = [](Made& made) { made.capabilities = SANE_CAP_SOFT_DETECT; };
inline constexpr void (*kUnreadable)(Made&) = [](Made& made) { made.capabilities = SANE_CAP_SOFT_SELECT; };

}  // namespace platen_test
