#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

// Undoes the content encodings of an answer's body (RFC 9110, section 8.4), piece by piece: gzip, deflate (with or
// without the frame of zlib: servers send both) and br. Nothing is kept but what the decoders themselves need. One
// thread.
class ContentDecoder {
public:
    // Takes decoded bytes; false ends the decoding.
    using Output = std::function<bool(std::string_view)>;

    // One encoding.
    class Stage {
    public:
        Stage() = default;
        virtual ~Stage() = default;
        Stage(const Stage&) = delete;
        Stage& operator=(const Stage&) = delete;

        // False when the bytes are damaged or the output wants no more.
        virtual bool feed(std::string_view bytes, const Output& output) = 0;
        // Whether what was fed so far is a whole.
        virtual bool isWhole() const = 0;
    };

    // For the value of a Content-Encoding header, which names encodings in the order in which they were applied. Null
    // when there is nothing that this could undo: no encoding, an unknown one among them, or more than five.
    static std::unique_ptr<ContentDecoder> forHeader(std::string_view value);

    // False when the bytes are damaged or `output` returned false.
    bool feed(std::string_view bytes, const Output& output);
    // False when the body broke off. Nothing at all is whole.
    bool isWhole() const;

private:
    explicit ContentDecoder(std::vector<std::unique_ptr<Stage>> stages) : stages_(std::move(stages)) {}
    bool feedStage(std::size_t index, std::string_view bytes, const Output& output);

    std::vector<std::unique_ptr<Stage>> stages_; // the last applied first
    bool began_ = false;
};
