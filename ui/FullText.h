#pragma once

class QHelpEvent;
class QString;
class QWidget;
class TextView;

// Answers the wish for a tooltip over `widget`, which shows `text` as `view` has it: the whole text where an ellipsis
// stands for a part of it, else none.
void tellFullText(const QHelpEvent& event, QWidget& widget, const TextView& view, const QString& text);
