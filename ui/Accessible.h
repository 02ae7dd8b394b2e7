#pragma once

// Tells Qt what our controls are to assistive technology: windows are windows, and dialogs when they float;
// texts are static text under their own words, and not there without any; each link is a child of its field that can be
// focused and opened, and it is the link that is told of when the keyboard comes; pictures with a name are graphics,
// and others are not there; a view with a name is an alert; the spinner is an animation that is busy. Main thread; once
// is enough, and more do no harm.
void installAccessibleFactory();
