#include "IniUtil.h"

#include "WireCodec.h"

#include <QFile>
#include <QSaveFile>
#include <QTextCodec>

QMap<QString, QMap<QString, QString>> IniUtil::saveObject;

void IniUtil::openIni(QString path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    QString text = QTextCodec::codecForName("UTF-16LE")->toUnicode(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    parse(text);
}

void IniUtil::parse(const QString& text)
{
    QString section; // entries before the first section line go to the empty name
    for (QString line : text.split(QLatin1Char('\n'))) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.isEmpty())
            continue;
        const int open = line.indexOf(QLatin1Char('['));
        if (open >= 0) {
            // The name starts after the first "[" and is as long as the line less two: the
            // brackets of "[NAME]". A "[" anywhere makes the line a section line.
            section = line.mid(open + 1, qMax(0, line.size() - 2));
            saveObject[section].clear();
            continue;
        }
        const int equals = line.indexOf(QLatin1Char('='));
        if (equals < 0)
            continue; // comments and stray lines do not survive a rewrite
        saveObject[section].insert(line.left(equals), line.mid(equals + 1));
    }
}

void IniUtil::clear()
{
    saveObject.clear();
}

void IniUtil::setValue(QString section, QString key, QString value)
{
    saveObject[section].insert(key, value);
}

QString IniUtil::getValue(QString section, QString key)
{
    return saveObject.value(section).value(key);
}

QString IniUtil::writeIni(QString path)
{
    QString text;
    for (auto section = saveObject.constEnd(); section != saveObject.constBegin();) {
        --section;
        text += QStringLiteral("\n[") + section.key() + QStringLiteral("]\n");
        const QMap<QString, QString>& entries = section.value();
        for (auto entry = entries.constEnd(); entry != entries.constBegin();) {
            --entry;
            text += entry.key() + QLatin1Char('=') + entry.value() + QLatin1Char('\n');
        }
    }
    if (!path.isEmpty()) {
        QSaveFile file(path);
        const QByteArray bytes = WireCodec::encode(text);
        if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size())
            file.commit();
    }
    return text;
}
