#include "hdiutil/tests/front/DamageRun.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

// The whole run behind the table in docs/reliability.md: damaged_images SEEDS IMAGE…, with IMAGE:PASSWORD for an
// encrypted one.
namespace {

using namespace hdi::test;

// True when something was shown as good that a checksum covers.
bool runOn(const DamageSubject& subject, std::uint64_t seeds, bool verify, const std::string& scratch) {
    bool failed = false;
    for (const Damage damage : kDamages) {
        Counts counts;
        for (std::uint64_t seed = 0; seed < seeds; ++seed) {
            ++counts[subject.judge(subject.damaged(damage, seed), scratch, verify)];
        }
        const std::string name = subject.path().substr(subject.path().rfind('/') + 1);
        std::printf("| %s | %s | %s | %u | %u | %u | %u |\n", name.c_str(),
                    !subject.isChecksummed() ? "none there"
                    : verify                 ? "checked"
                                             : "`-noverify`",
                    nameOf(damage).c_str(), counts[Verdict::kRefused], counts[Verdict::kReadError],
                    counts[Verdict::kUnaffected], counts[Verdict::kSilentlyWrong]);
        std::fflush(stdout);
        failed = failed || (verify && subject.isChecksummed() && counts[Verdict::kSilentlyWrong] > 0);
    }
    return failed;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s SEEDS IMAGE...\n", argv[0]);
        return 64;
    }
    const std::string scratch = "/tmp/damaged-images-" + std::to_string(getpid());
    bool failed = false;
    std::puts(
        "| Image | Checksum | Damage | refused | EIO | unaffected | silently wrong |\n|---|---|---|---|---|---|---|");
    try {
        for (int i = 2; i < argc; ++i) {
            const std::string argument = argv[i];
            const std::size_t colon = argument.rfind(':');
            const DamageSubject subject(argument.substr(0, colon),
                                        colon == std::string::npos ? "" : argument.substr(colon + 1));
            failed = runOn(subject, std::strtoull(argv[1], nullptr, 10), true, scratch) || failed;
            if (subject.isChecksummed()) {
                runOn(subject, std::strtoull(argv[1], nullptr, 10), false, scratch);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        failed = true;
    }
    unlink(scratch.c_str());
    return failed ? 1 : 0;
}
