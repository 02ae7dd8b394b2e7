#include "platform/linux/ContentDecoder.h"

#include <brotli/decode.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kMostEncodings = 5; // each is a decoder with a window of its own
constexpr std::size_t kPiece = std::size_t{64} * 1024;

// Which frame deflate's data has.
enum class Frame { kGzip, kZlib, kNone };

class InflateStage : public ContentDecoder::Stage {
public:
    explicit InflateStage(Frame frame) { isReady_ = inflateInit2(&stream_, windowBits(frame)) == Z_OK; }
    ~InflateStage() override { inflateEnd(&stream_); }
    InflateStage(const InflateStage&) = delete;
    InflateStage& operator=(const InflateStage&) = delete;

    bool feed(std::string_view bytes, const ContentDecoder::Output& output) override {
        if (!isReady_) {
            return false;
        }
        // zlib does not write to its input, whatever its type says.
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        stream_.avail_in = static_cast<uInt>(bytes.size());
        while (!isAtEnd_ || nextMemberBegins()) {
            const std::optional<int> code = inflatePiece(output);
            isAtEnd_ = code == Z_STREAM_END;
            if (!code || (*code != Z_OK && *code != Z_STREAM_END && *code != Z_BUF_ERROR)) {
                return false;
            }
            if (!isAtEnd_ && stream_.avail_in == 0 && stream_.avail_out > 0) {
                return true;
            }
        }
        return true;
    }

    bool isWhole() const override { return isAtEnd_; }

private:
    static int windowBits(Frame frame) {
        constexpr int kGzipInstead = 16;
        switch (frame) {
        case Frame::kGzip:
            return MAX_WBITS + kGzipInstead;
        case Frame::kZlib:
            return MAX_WBITS;
        case Frame::kNone:
            break;
        }
        return -MAX_WBITS;
    }

    // What zlib says; absent when the output wants no more.
    std::optional<int> inflatePiece(const ContentDecoder::Output& output) {
        stream_.next_out = piece_.data();
        stream_.avail_out = static_cast<uInt>(piece_.size());
        const int code = inflate(&stream_, Z_NO_FLUSH);
        const std::size_t decoded = piece_.size() - stream_.avail_out;
        if (decoded > 0 && !output({reinterpret_cast<const char*>(piece_.data()), decoded})) {
            return std::nullopt;
        }
        return code;
    }

    // A gzip file may have several members (RFC 1952, section 2.2). Anything else behind the end is ignored.
    bool nextMemberBegins() {
        constexpr Bytef kFirstOfMagic = 0x1f;
        if (stream_.avail_in == 0 || *stream_.next_in != kFirstOfMagic) {
            return false;
        }
        isAtEnd_ = false;
        return inflateReset(&stream_) == Z_OK;
    }

    z_stream stream_{};
    std::array<Bytef, kPiece> piece_{};
    bool isReady_ = false;
    bool isAtEnd_ = false;
};

// Half of all servers mean deflate with zlib's frame by this name, as they should, the others bare deflate. The first
// two bytes tell (RFC 1950, section 2.2).
class DeflateStage : public ContentDecoder::Stage {
public:
    bool feed(std::string_view bytes, const ContentDecoder::Output& output) override {
        if (inflate_) {
            return inflate_->feed(bytes, output);
        }
        head_.append(bytes);
        if (head_.size() < 2) {
            return true;
        }
        inflate_.emplace(hasZlibFrame(head_) ? Frame::kZlib : Frame::kNone);
        return inflate_->feed(head_, output);
    }

    bool isWhole() const override { return inflate_ && inflate_->isWhole(); }

private:
    static bool hasZlibFrame(std::string_view head) {
        constexpr unsigned kMethodMask = 0x0f;
        constexpr unsigned kDeflate = 8;
        constexpr unsigned kCheck = 31;
        const unsigned method = static_cast<unsigned char>(head[0]);
        const unsigned flags = static_cast<unsigned char>(head[1]);
        return (method & kMethodMask) == kDeflate && ((method << 8U) + flags) % kCheck == 0;
    }

    std::string head_;
    std::optional<InflateStage> inflate_;
};

class BrotliStage : public ContentDecoder::Stage {
public:
    bool feed(std::string_view bytes, const ContentDecoder::Output& output) override {
        if (!state_) {
            return false;
        }
        std::size_t available = bytes.size();
        const auto* next = reinterpret_cast<const std::uint8_t*>(bytes.data());
        BrotliDecoderResult result = BROTLI_DECODER_RESULT_NEEDS_MORE_OUTPUT;
        while (result == BROTLI_DECODER_RESULT_NEEDS_MORE_OUTPUT) {
            std::size_t room = piece_.size();
            std::uint8_t* out = piece_.data();
            result = BrotliDecoderDecompressStream(state_.get(), &available, &next, &room, &out, nullptr);
            const std::size_t decoded = piece_.size() - room;
            if (decoded > 0 && !output({reinterpret_cast<const char*>(piece_.data()), decoded})) {
                return false;
            }
        }
        return result != BROTLI_DECODER_RESULT_ERROR;
    }

    bool isWhole() const override { return BrotliDecoderIsFinished(state_.get()) != 0; }

private:
    struct Free {
        void operator()(BrotliDecoderState* state) const { BrotliDecoderDestroyInstance(state); }
    };

    std::unique_ptr<BrotliDecoderState, Free> state_{BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)};
    std::array<std::uint8_t, kPiece> piece_{};
};

template <typename Kind, auto... kArguments>
std::unique_ptr<ContentDecoder::Stage> make() {
    return std::make_unique<Kind>(kArguments...);
}

struct Encoding {
    std::string_view name;
    std::unique_ptr<ContentDecoder::Stage> (*make)();
};

constexpr std::array<Encoding, 4> kEncodings{{
    {"gzip", make<InflateStage, Frame::kGzip>},
    {"x-gzip", make<InflateStage, Frame::kGzip>},
    {"deflate", make<DeflateStage>},
    {"br", make<BrotliStage>},
}};

std::string trimmedLower(std::string_view text) {
    const auto isBlank = [](char letter) { return letter == ' ' || letter == '\t'; };
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

// The names of a header's value; those that change nothing are left out.
std::vector<std::string> namesIn(std::string_view value) {
    std::vector<std::string> names;
    while (true) {
        const std::size_t comma = value.find(',');
        std::string name = trimmedLower(value.substr(0, comma));
        if (!name.empty() && name != "identity") {
            names.push_back(std::move(name));
        }
        if (comma == std::string_view::npos) {
            return names;
        }
        value.remove_prefix(comma + 1);
    }
}

} // namespace

std::unique_ptr<ContentDecoder> ContentDecoder::forHeader(std::string_view value) {
    const std::vector<std::string> names = namesIn(value);
    if (names.empty() || names.size() > kMostEncodings) {
        return nullptr;
    }
    std::vector<std::unique_ptr<Stage>> stages;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        const auto* const known = std::find_if(kEncodings.begin(), kEncodings.end(),
                                               [&](const Encoding& encoding) { return encoding.name == *name; });
        if (known == kEncodings.end()) {
            return nullptr;
        }
        stages.push_back(known->make());
    }
    return std::unique_ptr<ContentDecoder>(new ContentDecoder(std::move(stages)));
}

bool ContentDecoder::feed(std::string_view bytes, const Output& output) {
    began_ = began_ || !bytes.empty();
    return bytes.empty() || feedStage(0, bytes, output);
}

bool ContentDecoder::feedStage(std::size_t index, std::string_view bytes, const Output& output) {
    if (index == stages_.size()) {
        return output(bytes);
    }
    return stages_[index]->feed(bytes, [&](std::string_view decoded) { return feedStage(index + 1, decoded, output); });
}

bool ContentDecoder::isWhole() const {
    return !began_ || std::all_of(stages_.begin(), stages_.end(), [](const auto& stage) { return stage->isWhole(); });
}
