#pragma once

#include "platform/base/Color.h"
#include "ui/Fonts.h"

#include <QString>

#include <optional>

class Button;
class TextField;

// The few steps of which the styling of all panels is made. Main thread.

// The colour of a bundle setting such as "BG_COLOR"; absent when it is missing or no colour text.
std::optional<Color> settingColor(const QString& key);
// The colour of a literal of ours. Black for a text that is no colour.
Color hexColor(const char* text);

// Text colour and font on a white background, which the label draws. An absent colour leaves the one it has.
void styleLabel(TextField& label, const std::optional<Color>& color, const FontChoice& font);

// The localized text of `key` as the title, restyled over its whole length, on a layer of this colour.
struct ButtonLook {
    QString titleKey;
    Color titleColor;
    FontChoice font;
    Color background;
    double cornerRadius;
};
void styleButton(Button& button, const ButtonLook& look);
