#include "hdiutil/front/StandardDescriptors.h"
#include "hdiutil/front/Verbs.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    hdi::fillStandardDescriptors();
    return hdi::runVerb(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
