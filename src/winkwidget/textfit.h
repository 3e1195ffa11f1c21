#ifndef TEXTFIT_H
#define TEXTFIT_H

class QFrame;
class QLabel;
class QLayout;

// Room for the texts of a notice. The notice has a fixed size; how wide its texts are depends on the model,
// the address and the fonts of the panel. All widths are in pixels of the screen. GUI thread only.

// The width inside a frame that fills its window, which has a fixed width.
int contentWidth(const QFrame &frame);

// The labels of a notice that hold text.
struct NoticeTexts {
    QLabel &title;
    QLabel &deviceCaption;
    QLabel &deviceName;
    QLabel &addressCaption;
    QLabel &ipAddress;
    QLayout &rows; // of the captions and their values
};

// Fits the title and the rows into a width. Letters are drawn narrower where a text needs it, as far as they
// stay legible. A value that is still too wide is cut at its end and does not cover its caption. The labels
// keep their full texts.
void fitTexts(const NoticeTexts &texts, int width);

#endif // TEXTFIT_H
