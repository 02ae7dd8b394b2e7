#pragma once

#include "ui/TextField.h"

// A text field that paints as its base class does. Main thread.
class QNTextFieldWithLinks : public TextField {
    Q_OBJECT

public:
    using TextField::TextField;
};
