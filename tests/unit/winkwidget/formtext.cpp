#include "formtext.h"

#include <QtCore/QMetaEnum>
#include <QtGui/QFont>
#include <QtWidgets/QApplication>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QSpacerItem>
#include <QtWidgets/QWidget>

namespace
{

QString policyText(QSizePolicy::Policy policy)
{
    return QString::fromLatin1(QMetaEnum::fromType<QSizePolicy::Policy>().valueToKey(policy));
}

QString spacerText(const QSpacerItem &spacer)
{
    return QStringLiteral("spacer %1x%2 %3/%4")
        .arg(spacer.sizeHint().width())
        .arg(spacer.sizeHint().height())
        .arg(policyText(spacer.sizePolicy().horizontalPolicy()),
             policyText(spacer.sizePolicy().verticalPolicy()));
}

QString itemText(QLayoutItem &item)
{
    QString text;
    if (const QWidget *widget = item.widget())
        text = widget->objectName();
    else if (const QLayout *layout = item.layout())
        text = layout->objectName();
    else if (const QSpacerItem *spacer = item.spacerItem())
        text = spacerText(*spacer);
    if (item.alignment())
        text += QStringLiteral(" align %1").arg(static_cast<int>(item.alignment()));
    return text;
}

// The place of an item in a layout of this kind.
QString placeText(QLayout &layout, int index)
{
    if (auto *grid = qobject_cast<QGridLayout *>(&layout)) {
        int row = 0, column = 0, rows = 0, columns = 0;
        grid->getItemPosition(index, &row, &column, &rows, &columns);
        return QStringLiteral("%1,%2 %3x%4: ").arg(row).arg(column).arg(rows).arg(columns);
    }
    if (auto *form = qobject_cast<QFormLayout *>(&layout)) {
        int row = 0;
        QFormLayout::ItemRole role = QFormLayout::SpanningRole;
        form->getItemPosition(index, &row, &role);
        const char *const names[] = {"label", "field", "both"};
        return QStringLiteral("%1 %2: ").arg(row).arg(QLatin1String(names[role]));
    }
    return QString();
}

} // namespace

QStringList objectTexts(const QWidget &window)
{
    QStringList texts;
    for (const QObject *object : window.findChildren<QObject *>()) {
        texts.append(QStringLiteral("%1 %2 in %3")
                         .arg(QLatin1String(object->metaObject()->className()), object->objectName(),
                              object->parent()->objectName()));
    }
    texts.sort();
    return texts;
}

QStringList itemTexts(QLayout &layout)
{
    QStringList texts;
    for (int i = 0; i < layout.count(); ++i) {
        QString text = placeText(layout, i) + itemText(*layout.itemAt(i));
        const auto *box = qobject_cast<QBoxLayout *>(&layout);
        if (box && box->stretch(i) != 0)
            text += QStringLiteral(" stretch %1").arg(box->stretch(i));
        texts.append(text);
    }
    return texts;
}

QString marginsText(const QLayout &layout)
{
    const QMargins margins = layout.contentsMargins();
    return QStringLiteral("%1,%2,%3,%4")
        .arg(margins.left())
        .arg(margins.top())
        .arg(margins.right())
        .arg(margins.bottom());
}

QString fontText(const QLabel &label)
{
    const QFont plain = QApplication::font();
    const QFont font = label.font();
    if (font == plain)
        return QString();
    QStringList parts;
    if (font.family() != plain.family())
        parts.append(font.family());
    parts.append(QStringLiteral("%1 pt").arg(font.pointSize()));
    // Qt 5 and Qt 6 count weights differently: 75 of 99, and 700 of 1000.
    const int boldWeight = QT_VERSION_MAJOR < 6 ? 75 : 700;
    if (font.weight() == boldWeight && font.bold())
        parts.append(QStringLiteral("bold"));
    else if (font.weight() != plain.weight())
        parts.append(QStringLiteral("weight %1").arg(font.weight()));
    if (font.italic())
        parts.append(QStringLiteral("italic"));
    if (font.underline())
        parts.append(QStringLiteral("underlined"));
    if (font.strikeOut())
        parts.append(QStringLiteral("struck out"));
    return parts.join(QStringLiteral(", "));
}

QString alignmentText(const QLabel &label)
{
    const struct {
        Qt::AlignmentFlag flag;
        const char *name;
    } flags[] = {{Qt::AlignLeft, "Left"},       {Qt::AlignRight, "Right"},      {Qt::AlignHCenter, "HCenter"},
                 {Qt::AlignJustify, "Justify"}, {Qt::AlignTop, "Top"},          {Qt::AlignBottom, "Bottom"},
                 {Qt::AlignVCenter, "VCenter"}, {Qt::AlignBaseline, "Baseline"}};
    QStringList names;
    for (const auto &each : flags) {
        if (label.alignment() & each.flag)
            names.append(QLatin1String(each.name));
    }
    return names.join(QLatin1Char('|'));
}
