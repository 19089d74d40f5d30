#include "programs/page/PlaceStage.h"

#include <algorithm>
#include <cstring>

#include "programs/io/Spool.h"

namespace platen_tool {

namespace {

// Sets the bits of the black pixels from column `from` on, as many as `width`, at the beginning of `out`.
void TakeBits(const std::uint8_t* line, std::size_t from, std::size_t width, std::uint8_t* out) {
    for (std::size_t i = 0; i < (width + 7) / 8; ++i) {
        const std::size_t bit = from + 8 * i;
        const std::size_t left = width - 8 * i;
        unsigned bits = static_cast<unsigned>(line[bit / 8]) << 8;
        if (bit % 8 != 0 && bit % 8 + left > 8) {
            bits |= line[bit / 8 + 1];
        }
        bits = bits << bit % 8 >> 8 & 0xFF;
        out[i] = static_cast<std::uint8_t>(left < 8 ? bits & 0xFF00 >> left : bits);
    }
}

class CropStage : public Stage {
  public:
    CropStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : area_(plan.crop),
          bits_(static_cast<std::size_t>(stage.in.bitsPerSample * stage.in.samplesPerPixel)),
          line_(bits_ == 1 ? stage.out.LineBytes() : 0),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        const std::uint32_t y = y_++;
        if (y < area_.y || y - area_.y >= area_.height) {
            return;
        }
        if (bits_ == 1) {
            TakeBits(line, area_.x, area_.width, line_.data());
            next_.Take(line_.data());
        } else {
            next_.Take(line + std::size_t{area_.x} * bits_ / 8);
        }
    }

  private:
    const Area area_;
    const std::size_t bits_;  // of a pixel
    std::uint32_t y_ = 0;
    std::vector<std::uint8_t> line_;
    Stage& next_;
};

// The line from its end to its beginning.
void Mirror(const std::uint8_t* line, std::size_t width, std::size_t bits, std::uint8_t* out) {
    if (bits == 1) {
        std::memset(out, 0, (width + 7) / 8);
        for (std::size_t x = 0; x < width; ++x) {
            if (line[x / 8] == 0) {
                x |= 7;  // eight white ones
            } else if ((line[x / 8] >> (7 - x % 8) & 1) != 0) {
                const std::size_t to = width - 1 - x;
                out[to / 8] = static_cast<std::uint8_t>(out[to / 8] | 0x80 >> to % 8);
            }
        }
        return;
    }
    const std::size_t bytes = bits / 8;
    for (std::size_t x = 0; x < width; ++x) {
        std::memcpy(out + (width - 1 - x) * bytes, line + x * bytes, bytes);
    }
}

// Without `swap`.
class FlipStage : public Stage {
  public:
    FlipStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : turn_(plan.turn),
          height_(stage.in.height),
          width_(stage.in.width),
          bits_(static_cast<std::size_t>(stage.in.bitsPerSample * stage.in.samplesPerPixel)),
          line_(stage.in.LineBytes()),
          mirrored_(turn_.flipX ? line_.size() : 0),
          next_(next) {
        if (turn_.flipY) {
            spool_.emplace();
        }
    }

    void Take(std::uint8_t* line) override {
        if (!turn_.flipY) {
            Give(line);
            return;
        }
        spool_->WriteAt(std::uint64_t{y_} * line_.size(), line, line_.size());
        if (++y_ < height_) {
            return;
        }
        for (std::uint32_t y = height_; y > 0; --y) {
            spool_->ReadAt(std::uint64_t{y - 1} * line_.size(), line_.data(), line_.size());
            Give(line_.data());
        }
    }

  private:
    void Give(std::uint8_t* line) {
        if (turn_.flipX) {
            Mirror(line, width_, bits_, mirrored_.data());
            line = mirrored_.data();
        }
        next_.Take(line);
    }

    const Turn turn_;
    const std::uint32_t height_;
    const std::size_t width_;
    const std::size_t bits_;  // of a pixel
    std::uint32_t y_ = 0;
    std::vector<std::uint8_t> line_;
    std::vector<std::uint8_t> mirrored_;
    std::optional<Spool> spool_;
    Stage& next_;
};

// Lines become columns. They are taken in bands: of each band every column's pixels stand next to each other, and
// so they go into the temporary file. What comes out is put together from a piece of each band, for as many lines
// at a time as fit a block.
//
//      a page's lines           the file                      what comes out
//      a b c  band 0      a d  b e  c f | g j  h k  i l       a d g j
//      d e f                                                  b e h k     (from the page's first column)
//      g h i  band 1                                          c f i l
//      j k l
class SwapStage : public Stage {
  public:
    SwapStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : turn_(plan.turn),
          width_(stage.in.width),
          height_(stage.in.height),
          bits_(static_cast<std::size_t>(stage.in.bitsPerSample * stage.in.samplesPerPixel)),
          bandLines_(BandLines(stage.in)),
          pieceBytes_(bandLines_ * bits_ / 8),
          band_(width_ * pieceBytes_),
          outBytes_(stage.out.LineBytes()),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        Scatter(line, y_ % bandLines_);
        ++y_;
        if (y_ % bandLines_ == 0 || y_ == height_) {
            spool_.WriteAt(bands_ * band_.size(), band_.data(), band_.size());
            std::fill(band_.begin(), band_.end(), std::uint8_t{0});
            ++bands_;
        }
        if (y_ == height_) {
            band_ = std::vector<std::uint8_t>();
            GiveAll();
        }
    }

  private:
    // Whole bytes of bits; no more lines than there are, but for that.
    static std::size_t BandLines(const ImageInfo& in) {
        const std::size_t fit = std::max<std::size_t>(kTurnBlock / std::max<std::size_t>(in.LineBytes(), 1), 8);
        return std::min<std::size_t>(fit, in.height + 7) / 8 * 8;
    }

    // Each pixel becomes the next one of its column's piece.
    void Scatter(const std::uint8_t* line, std::size_t at) {
        if (bits_ == 1) {
            for (std::size_t x = 0; x < width_; ++x) {
                if (line[x / 8] == 0) {
                    x |= 7;
                } else if ((line[x / 8] >> (7 - x % 8) & 1) != 0) {
                    std::uint8_t& to = band_[x * pieceBytes_ + at / 8];
                    to = static_cast<std::uint8_t>(to | 0x80 >> at % 8);
                }
            }
            return;
        }
        const std::size_t bytes = bits_ / 8;
        std::uint8_t* to = band_.data() + at * bytes;
        for (std::size_t x = 0; x < width_; ++x, to += pieceBytes_, line += bytes) {
            for (std::size_t i = 0; i < bytes; ++i) {
                to[i] = line[i];
            }
        }
    }

    void GiveAll() {
        const std::size_t together = std::clamp<std::size_t>(kTurnBlock / outBytes_, 1, width_);
        std::vector<std::uint8_t> lines(together * outBytes_);
        std::vector<std::uint8_t> pieces(together * pieceBytes_);
        std::vector<std::uint8_t> mirrored(turn_.flipY ? outBytes_ : 0);
        for (std::size_t done = 0; done < width_; done += together) {
            const std::size_t count = std::min(together, width_ - done);
            const std::size_t first = turn_.flipX ? width_ - done - count : done;
            Collect(first, count, lines, pieces);
            for (std::size_t i = 0; i < count; ++i) {
                std::uint8_t* line = lines.data() + (turn_.flipX ? count - 1 - i : i) * outBytes_;
                if (turn_.flipY) {
                    Mirror(line, height_, bits_, mirrored.data());
                    line = mirrored.data();
                }
                next_.Take(line);
            }
        }
    }

    // `count` columns from `first` on, as lines.
    void Collect(std::size_t first, std::size_t count, std::vector<std::uint8_t>& lines,
                 std::vector<std::uint8_t>& pieces) {
        const std::uint64_t bandBytes = std::uint64_t{width_} * pieceBytes_;
        for (std::size_t band = 0; band < bands_; ++band) {
            spool_.ReadAt(band * bandBytes + first * pieceBytes_, pieces.data(), count * pieceBytes_);
            const std::size_t at = band * pieceBytes_;
            const std::size_t bytes = std::min(pieceBytes_, outBytes_ - at);
            for (std::size_t i = 0; i < count; ++i) {
                std::memcpy(&lines[i * outBytes_ + at], &pieces[i * pieceBytes_], bytes);
            }
        }
    }

    const Turn turn_;
    const std::size_t width_;
    const std::size_t height_;
    const std::size_t bits_;        // of a pixel
    const std::size_t bandLines_;   // of a band
    const std::size_t pieceBytes_;  // of a column in a band
    std::vector<std::uint8_t> band_;
    const std::size_t outBytes_;
    std::size_t y_ = 0;
    std::uint64_t bands_ = 0;
    Spool spool_;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeCropStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<CropStage>(plan, stage, next);
}

std::unique_ptr<Stage> MakeTurnStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    if (plan.turn.swap) {
        return std::make_unique<SwapStage>(plan, stage, next);
    }
    return std::make_unique<FlipStage>(plan, stage, next);
}

}  // namespace platen_tool
