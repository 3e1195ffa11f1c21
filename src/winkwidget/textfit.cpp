#include "textfit.h"

#include <QFrame>
#include <QLabel>
#include <QLayout>

namespace
{

// In percent of a letter's own width. Below this the letters of bold sans-serif fonts run into each other.
const int NarrowestStretch = 60;

int textWidth(const QLabel &label)
{
    return label.minimumSizeHint().width();
}

void setStretch(QLabel &label, int stretch)
{
    QFont font = label.font();
    font.setStretch(stretch);
    label.setFont(font);
}

// Narrows the letters until the text fits into the width or would no longer be legible.
void narrow(QLabel &label, int width)
{
    const int whole = textWidth(label);
    if (whole <= width)
        return;
    // The width of a letter is a whole number of pixels, so the first result may be a little too wide.
    int stretch = qMax(NarrowestStretch, 100 * width / whole);
    setStretch(label, stretch);
    while (textWidth(label) > width && stretch > NarrowestStretch)
        setStretch(label, --stretch);
}

} // namespace

int contentWidth(const QFrame &frame)
{
    int left, top, right, bottom;
    frame.layout()->getContentsMargins(&left, &top, &right, &bottom);
    return frame.window()->maximumWidth() - 2 * frame.frameWidth() - left - right;
}

void fitTexts(const NoticeTexts &texts, int width)
{
    narrow(texts.title, width);
    QLabel *const captions[] = {&texts.deviceCaption, &texts.addressCaption};
    for (QLabel *caption : captions) {
        // Where room is short, a layout gives a caption no more than the minimum width of the form.
        if (caption->minimumWidth() > 0)
            narrow(*caption, caption->minimumWidth());
    }
    QLabel *const values[] = {&texts.deviceName, &texts.ipAddress};
    texts.rows.invalidate();
    const int beside = texts.rows.minimumSize().width() - qMax(textWidth(*values[0]), textWidth(*values[1]));
    const int room = qMax(0, width - beside);
    for (QLabel *value : values) {
        narrow(*value, room);
        if (textWidth(*value) > room)
            value->setFixedWidth(room);
    }
}
