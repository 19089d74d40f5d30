#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// A page's stages, chained. After input.height lines the last stage has got output.height.
class Pipeline : public Stage {
  public:
    Pipeline(const PagePlan& plan, Stage& last);
    void Take(std::uint8_t* line) override {
        first_->Take(line);
    }

  private:
    std::vector<std::unique_ptr<Stage>> stages_;  // the last one first
    Stage* first_;
};

}  // namespace platen_tool
