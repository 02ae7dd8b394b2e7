#pragma once

#include <string>

namespace portal::serve {

// An image with an application that tells of some progress and ends well, for whoever has none at hand. It goes with
// this object. Throws std::exception when it cannot be made.
class SampleImage {
public:
    explicit SampleImage(bool hasTwoApplications);
    ~SampleImage();
    SampleImage(const SampleImage&) = delete;
    SampleImage& operator=(const SampleImage&) = delete;

    std::string path() const { return folder_ + "/Sample.dmg"; }

private:
    std::string folder_;
};

} // namespace portal::serve
