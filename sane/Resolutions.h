#pragma once

#include <sane/sane.h>

#include <array>
#include <optional>

#include "programs/base/ImageInfo.h"
#include "sane/Configuration.h"
#include "sane/Device.h"

namespace platen_sane {

// The device's resolution options, drawn out. The application sees a range that is wider than the device's and
// without its steps; what it asks for is kept, and the device gets the next resolution it has that is no lower, or
// its highest. The page is scaled from the one to the other.
class Resolutions {
  public:
    Resolutions(Device& device, const Configuration& configuration);

    // Whether an option of the device is one of these.
    bool Owns(SANE_Int option) const;

    // Its description as the application sees it. The pointer stays valid, what it points to follows the device.
    const SANE_Option_Descriptor* Descriptor(SANE_Int option);

    SANE_Status Control(SANE_Int option, SANE_Action action, void* value, SANE_Int& info);

    // After the device has changed options on its own: what the application asked for is kept, and asked of the
    // device anew.
    void Follow(SANE_Int& info);

    // Sets what the application asks for where the device has the option, as if the application had.
    void Ask(const platen_tool::Resolution& resolution, SANE_Int& info);

    // Sets the device's resolution for a look at the page, about `dpi`, and back what has been set for it.
    void SetForPreview(int dpi);
    void Restore();

    // What the device is set to, and what is asked for; nothing where it has no such option.
    std::optional<platen_tool::Resolution> Actual() const;
    std::optional<platen_tool::Resolution> Asked() const;

  private:
    struct Axis {
        SANE_Int option = 0;
        SANE_Option_Descriptor shown{};
        SANE_Range range{};
        SANE_Word asked = 0;
        SANE_Word actual = 0;
        bool chosen = false;  // by the application
        bool known = false;
        bool previewed = false;  // set for the last look at the page
    };

    Axis* Find(SANE_Int option);
    void Refresh(Axis& axis);
    void ReadBack(Axis& axis);
    SANE_Word Suitable(const Axis& axis, SANE_Word asked) const;
    SANE_Status Set(Axis& axis, SANE_Word asked, SANE_Int& info);
    void FollowAxis(Axis& other, const Axis& axis, const Axis& before, SANE_Int& info);
    SANE_Status SetDevice(Axis& axis, SANE_Word value, SANE_Int& info);
    const Axis* X() const;
    const Axis* Y() const;
    double Number(const Axis& axis, SANE_Word word) const;

    Device& device_;
    const Configuration& configuration_;
    std::array<Axis, 3> axes_;  // resolution, x-resolution, y-resolution

    // Whether the other axes go with "resolution"; until a setting has shown it, those that agree with it do.
    bool follow_ = true;
};

}  // namespace platen_sane
