#pragma once

#include "ui/Button.h"
#include "ui/HoverControl.h"

// A button with the pointing hand over it. Main thread.
class QNHoverButton : public HoverControl<Button> {
    Q_OBJECT

public:
    using HoverControl::HoverControl;
};
