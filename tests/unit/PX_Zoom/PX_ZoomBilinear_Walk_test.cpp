// Random walks over the calls in any order, refused ones included, against a model that knows the whole image and
// which source line each destination line needs.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "ZoomStream.h"

namespace {

using platen_test::GuardedBuffer;
using platen_test::Random;
using platen_test::ZoomCase;
using platen_test::ZoomContent;
using platen_test::ZoomImage;

enum class Call { kOpen, kBadOpen, kSend, kSendNull, kRead, kReadNull, kClose, kCheck };

// What the calls must answer.
class Model {
  public:
    void Opened(const ZoomCase& c, bool works, Random& random) {
        facadeOpen_ = true;
        open_ = works;
        case_ = c;
        sent_ = 0;
        delivered_ = 0;
        if (works) {
            const auto content = static_cast<ZoomContent>(random.Between(0, 2));
            source_ = platen_test::MakeImage(c, content, random);
            result_ = platen_test::OracleScale(c, source_);
            records_ = platen_test::OracleTable(c.dstHeight, c.srcHeight);
        }
    }
    // A closed facade has nothing that it could ask; a closed implementation still looks at the line.
    void Closed(bool facade) {
        facadeOpen_ = !facade;
        open_ = false;
        delivered_ = 0;
    }
    bool FacadeOpen() const {
        return facadeOpen_;
    }
    bool Open() const {
        return open_;
    }
    const ZoomCase& Case() const {
        return case_;
    }
    bool Finished() const {
        return delivered_ == case_.dstHeight;
    }

    // Lines that the lines sent so far complete, and that have not been read.
    int Ready() const {
        int ready = 0;
        for (int j = delivered_; open_ && j < case_.dstHeight; ++j) {
            const auto& record = records_[static_cast<std::size_t>(j)];
            ready += platen_test::OracleNeeds(record, case_.dstHeight, case_.srcHeight) < sent_ ? 1 : 0;
        }
        return ready;
    }
    // Whether the newest source line also belongs to the destination line after the waiting one.
    bool Shared() const {
        return Ready() != 0 && case_.dstHeight < case_.srcHeight &&
               records_[static_cast<std::size_t>(delivered_)].endRemainder != 0;
    }
    int SendStatus(bool null) const {
        if (!facadeOpen_) {
            return 3;
        }
        if (null && !Shared()) {
            return 2;
        }
        return !open_ || Ready() != 0 || Finished() ? 3 : 0;
    }
    int ReadStatus(bool null) const {
        if (!facadeOpen_) {
            return 3;
        }
        return null ? 2 : Ready() == 0 ? 3 : 0;
    }
    const platen_test::ZoomLine& NextSource() {
        return source_[static_cast<std::size_t>(sent_++)];
    }
    const platen_test::ZoomLine& NextResult() {
        return result_[static_cast<std::size_t>(delivered_++)];
    }

  private:
    bool facadeOpen_ = false;
    bool open_ = false;
    ZoomCase case_{1, 1, 1, 1, 8};
    ZoomImage source_;
    ZoomImage result_;
    std::vector<PX_Zoom2_Param> records_;
    int sent_ = 0;
    int delivered_ = 0;
};

// All that a scaler holds: both objects' bytes, and what their buffers hold.
std::vector<std::uint8_t> Snapshot(const PX_Zoom& zoom, const PX_ZoomBilinear* bilinear) {
    std::vector<std::uint8_t> bytes;
    const auto append = [&bytes](const void* from, std::size_t size) {
        if (from != nullptr) {
            const std::size_t end = bytes.size();
            bytes.resize(end + size);
            std::memcpy(bytes.data() + end, from, size);
        }
    };
    append(&zoom, sizeof zoom);
    if (bilinear != nullptr && bilinear->vertParam != nullptr) {
        // Without the padding between the numbers and the pointers, which nothing writes.
        const auto* const begin = reinterpret_cast<const unsigned char*>(bilinear);
        const auto* const numbersEnd = reinterpret_cast<const unsigned char*>(&bilinear->vertDouble + 1);
        const auto* const pointers = reinterpret_cast<const unsigned char*>(&bilinear->workLine[0]);
        append(begin, static_cast<std::size_t>(numbersEnd - begin));
        append(pointers, static_cast<std::size_t>(begin + sizeof *bilinear - pointers));
        append(bilinear->workLine[0], bilinear->workLineBytes);
        append(bilinear->workLine[1], bilinear->workLineBytes);
        append(bilinear->bilevelLine, static_cast<std::size_t>(std::max(bilinear->dstWidth, bilinear->srcWidth)));
        append(bilinear->horzParam, static_cast<std::size_t>(bilinear->dstWidth) * sizeof(PX_Zoom2_Param));
        append(bilinear->vertParam, static_cast<std::size_t>(bilinear->dstHeight) * sizeof(PX_Zoom2_Param));
    }
    return bytes;
}

class Walk {
  public:
    // Through the facade, or on the implementation itself.
    Walk(std::uint64_t seed, bool facade) : random_(seed), facade_(facade) {
        model_.Closed(facade);
    }

    void Step(Call call) {
        const auto before = Snapshot(Zoom(), Bilinear());
        const int status = Act(call);
        if (status != 0) {
            const auto after = Snapshot(Zoom(), Bilinear());
            ASSERT_EQ(before, after);
        }
        ASSERT_EQ(model_.Ready(), Zoom().CheckData());
    }

    Call Pick() {
        static constexpr Call kCalls[] = {Call::kSend,     Call::kSend, Call::kSend,     Call::kSend,
                                          Call::kRead,     Call::kRead, Call::kRead,     Call::kRead,
                                          Call::kSendNull, Call::kRead, Call::kReadNull, Call::kCheck};
        if (random_.OneIn(40) || (!model_.Open() && random_.OneIn(2))) {
            return random_.OneIn(6) ? Call::kClose : random_.OneIn(6) ? Call::kBadOpen : Call::kOpen;
        }
        return model_.Finished() && random_.OneIn(3) ? Call::kClose : kCalls[random_.Between(0, 11)];
    }

  private:
    PX_Zoom& Zoom() {
        return facade_ ? outer_ : inner_;
    }
    PX_ZoomBilinear* Bilinear() {
        return facade_ ? static_cast<PX_ZoomBilinear*>(outer_.zoom) : &inner_;
    }

    // Makes one call and checks its answer. Gives a status that is not 0 where nothing may have changed.
    int Act(Call call) {
        switch (call) {
            case Call::kOpen:
                return Open(true);
            case Call::kBadOpen:
                return Open(false);
            case Call::kClose:
                Zoom().Close();
                model_.Closed(facade_);
                return 0;
            case Call::kSend:
                return Send();
            case Call::kSendNull:
                return Expect(model_.SendStatus(true), Zoom().Send(nullptr));
            case Call::kRead:
                return Read();
            case Call::kReadNull:
                return Expect(model_.ReadStatus(true), Zoom().Read(nullptr));
            default:
                EXPECT_EQ(model_.Ready(), Zoom().CheckData());
                return 1;
        }
    }

    static int Expect(int want, int got) {
        EXPECT_EQ(want, got);
        return want;
    }

    int Open(bool works) {
        static constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
        const auto size = [this] { return static_cast<int>(random_.Between(1, 12)); };
        const ZoomCase c = {size(), size(), size(), size(), kFormats[random_.Between(0, 6)]};
        const int status = Zoom().Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, works ? c.format : 2, 2);
        if (facade_ && model_.FacadeOpen()) {
            return Expect(3, status);
        }
        Expect(works ? 0 : 2, status);
        model_.Opened(c, works, random_);
        if (works) {
            Bilinear()->horzDouble = random_.OneIn(3) ? 1 : 0;
            Bilinear()->vertDouble = random_.OneIn(3) ? 1 : 0;
        }
        return 0;
    }

    int Send() {
        if (model_.SendStatus(false) != 0) {
            std::uint8_t line[1] = {};
            return Expect(model_.SendStatus(false), Zoom().Send(line));
        }
        const ZoomCase& c = model_.Case();
        GuardedBuffer line(c.SrcBytes());
        const auto bytes = PackLine(c, model_.NextSource());
        std::memcpy(line.data(), bytes.data(), bytes.size());
        return Expect(0, Zoom().Send(line.data()));
    }

    int Read() {
        if (model_.ReadStatus(false) != 0) {
            std::uint8_t line[1] = {};
            return Expect(model_.ReadStatus(false), Zoom().Read(line));
        }
        const ZoomCase& c = model_.Case();
        GuardedBuffer line(c.DstBytes());
        const auto want = PackLine(c, model_.NextResult());
        const int status = Expect(0, Zoom().Read(line.data()));
        EXPECT_EQ(0, std::memcmp(want.data(), line.data(), want.size())) << Describe(c);
        return status;
    }

    Random random_;
    bool facade_;
    PX_Zoom outer_;
    PX_ZoomBilinear inner_;
    Model model_;
};

void RunWalks(bool facade) {
    for (std::uint64_t seed = 0; seed < 150; ++seed) {
        Walk walk(seed, facade);
        for (int step = 0; step < 300; ++step) {
            walk.Step(walk.Pick());
            if (testing::Test::HasFailure()) {
                FAIL() << "seed " << seed << " step " << step;
            }
        }
    }
}

TEST(PX_ZoomWalk, FacadeAnswersAsTheModel) {
    RunWalks(true);
}

TEST(PX_ZoomWalk, ImplementationAnswersAsTheModel) {
    RunWalks(false);
}

}  // namespace
