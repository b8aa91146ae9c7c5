#include "fetch/DownloadItem.h"

DownloadItem::DownloadItem() : m_title(QStringLiteral("Untitled download")) {}
