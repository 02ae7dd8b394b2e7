// Is compiled by a test with the options of the program's folders, for the warning alone.
enum class Kind { kKnown, kForgotten };

int lengthOf(Kind kind) {
    switch (kind) {
    case Kind::kKnown:
        return 1;
    default:
        return 0;
    }
}
