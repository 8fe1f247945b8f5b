#pragma once
// Whole files in and out, for the suites that check what the code under test reads and writes.

#include <QFile>

// The file's bytes; empty when it cannot be read.
inline QByteArray readFile(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Replaces the file with bytes; false when that fails.
inline bool writeFile(QString const& path, QByteArray const& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}
