#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <functional>
#include <string>
#include <vector>

// One case for each check: something good with one mistake in it. The mistake's check fires, and no other.
namespace portal::check::test {

struct Case {
    std::string code;
    std::function<void(Findings&)> check;

    friend std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.code; }
};

std::vector<Case> documentCases();
std::vector<Case> imageCases();
std::vector<Case> bundleCases();
std::vector<Case> screenCases();
std::vector<Case> tlsCases();
std::vector<Case> transferCases();

// The codes that fired, in order, each once.
std::vector<std::string> codesOf(const Findings& findings);

// The good ones, without a mistake.
QByteArray goodDocument();
void checkGoodDocument(Findings& findings);
void checkGoodImage(Findings& findings);
void checkGoodBundle(Findings& findings);
void checkGoodScreens(Findings& findings);
void checkGoodTls(Findings& findings);
void checkGoodTransfers(Findings& findings);

} // namespace portal::check::test
