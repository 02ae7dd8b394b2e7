#include "ui/Styling.h"

#include "config/QNConfigProvider.h"
#include "platform/Bundle.h"
#include "ui/Button.h"
#include "ui/TextField.h"

std::optional<Color> settingColor(const QString& key) {
    const std::optional<QString> text = QNConfigProvider::getStringFromPlist(key);
    return text ? Color::colorWithHex(*text) : std::nullopt;
}

Color hexColor(const char* text) {
    return Color::colorWithHex(QLatin1String(text)).value_or(Color());
}

void styleLabel(TextField& label, const std::optional<Color>& color, const FontChoice& font) {
    label.setTextColor(color);
    label.setTextFont(font);
    label.setDrawsBackground(true);
    label.setBackgroundColor(hexColor("#FFFFFF"));
}

void styleButton(Button& button, const ButtonLook& look) {
    button.setTitle(platform::localizedString(look.titleKey));
    TextAttributes attributes;
    attributes.color = look.titleColor;
    attributes.font = look.font;
    StyledText title = button.attributedTitle();
    title.addAttributes(attributes);
    button.setAttributedTitle(title);
    Layer layer = button.layer();
    layer.cornerRadius = look.cornerRadius;
    layer.backgroundColor = look.background;
    button.setLayer(layer);
}
