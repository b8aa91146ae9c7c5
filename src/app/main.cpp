#include "app/HeadlinePageSchemeHandler.h"

#include <QApplication>

int main(int argc, char **argv)
{
    HeadlinePageSchemeHandler::registerSchemes();
    QApplication application(argc, argv);
    return 0;
}
