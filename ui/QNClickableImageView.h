#pragma once

#include "ui/HoverControl.h"
#include "ui/ImageView.h"

// An image with the pointing hand over it. Main thread.
class QNClickableImageView : public HoverControl<ImageView> {
    Q_OBJECT

public:
    using HoverControl::HoverControl;
};
