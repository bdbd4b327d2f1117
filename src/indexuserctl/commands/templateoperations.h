#pragma once

#include <inspect/userrecords.h>

#include <indexuser/cpanelgrouplayoutconfig.h>

using Layouts = KW::CPanelGroupLayoutConfig;

/// The operations of the layout store on the templates of one side.
///
///     const QStringList names = (layouts.*operations(inspect::LayoutSide::Quote).names)();
struct TemplateOperations {
    QList<QString> (Layouts::*names)();
    void (Layouts::*save)(QString);
    void (Layouts::*apply)(QString);
    void (Layouts::*rename)(QString, QString);
    void (Layouts::*remove)(QString);
    void (Layouts::*importAll)(QString, QDomElement&);
    void (Layouts::*exportOne)(QString, QDomElement&, QDomDocument&);
};

const TemplateOperations& operations(inspect::LayoutSide side);
