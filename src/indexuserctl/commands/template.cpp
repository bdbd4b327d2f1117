#include "commands/edit.h"
#include "commands/shownuser.h"
#include "commands/templateoperations.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/closest.h>
#include <inspect/plaintext.h>

#include <algorithm>

namespace {

void requireTemplate(const QStringList& names, const QString& name)
{
    if (!names.contains(name)) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no template '%1'").arg(name)
                           + inspect::didYouMean(name, names));
    }
}

void requireName(const QString& name, ExitStatus status, const QString& where = {})
{
    const QString strError = name.isEmpty() ? QStringLiteral("is empty") : inspect::textError(name);
    if (!strError.isEmpty()) {
        throw CFailure(status, where + QStringLiteral("the name '%1' %2").arg(name, strError));
    }
}

using LayoutChange = std::function<void(Layouts& layouts, const TemplateOperations& operations)>;

ExitStatus editLayouts(const Request& request, const LayoutChange& change)
{
    return edit(request, [&](KW::UserConfigInterface& service) {
        change(*service.getLayoutConfig(), operations(request.side));
    });
}

// A change of one template, which must be there.
ExitStatus editTemplate(const Request& request, const LayoutChange& change)
{
    return editLayouts(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        requireTemplate((layouts.*operations.names)(), request.words.first());
        change(layouts, operations);
    });
}

} // namespace

ExitStatus listTemplates(const Request& request)
{
    const auto templates
        = inspect::templatesOf(inspect::recordsOf(liveFile(request).document), request.side);
    Table table { "templates", "Layout templates", { "name", "windows" } };
    for (const inspect::Layout& layout : templates) {
        table.rows.append({ layout.strName, layout.windows.size() });
    }
    print({ table }, request.format);
    return ExitStatus::Ok;
}

ExitStatus showTemplate(const Request& request)
{
    Request layout = request;
    layout.templateName = request.words.first();
    return showLayout(layout);
}

ExitStatus saveTemplate(const Request& request)
{
    requireName(request.words.first(), ExitStatus::Usage);
    return editLayouts(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        (layouts.*operations.save)(request.words.first());
    });
}

ExitStatus applyTemplate(const Request& request)
{
    return editTemplate(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        (layouts.*operations.apply)(request.words.first());
    });
}

ExitStatus renameTemplate(const Request& request)
{
    const QString strOld = request.words[0];
    const QString strNew = request.words[1];
    requireName(strNew, ExitStatus::Usage);
    return editTemplate(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        if (strNew == strOld) {
            return;
        }
        if ((layouts.*operations.names)().contains(strNew)) {
            throw CFailure(ExitStatus::Negative,
                           QStringLiteral("there is a template '%1' already").arg(strNew));
        }
        (layouts.*operations.rename)(strOld, strNew);
    });
}

ExitStatus deleteTemplate(const Request& request)
{
    return editTemplate(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        (layouts.*operations.remove)(request.words.first());
    });
}

ExitStatus exportTemplate(const Request& request)
{
    Layouts layouts;
    QDomElement file = liveFile(request).document.documentElement();
    layouts.loadSetting(file);
    const TemplateOperations& table = operations(request.side);
    requireTemplate((layouts.*table.names)(), request.words.first());
    QDomDocument doc;
    doc.appendChild(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""));
    QDomElement root = doc.createElement(inspect::templateSection(request.side));
    doc.appendChild(root);
    (layouts.*table.exportOne)(request.words.first(), root, doc);
    writeFile(request, request.words[1], inspect::withReferences(doc.toString(4)).toUtf8());
    return ExitStatus::Ok;
}

ExitStatus importTemplates(const Request& request)
{
    const QString strPath = inputPath(request.words.first());
    QDomElement container = wholeDocument(strPath).document.documentElement();
    return editLayouts(request, [&](Layouts& layouts, const TemplateOperations& operations) {
        const QStringList before = (layouts.*operations.names)();
        (layouts.*operations.importAll)(QString(), container);
        const QStringList after = (layouts.*operations.names)();
        if (after.size() == before.size()) {
            throw CFailure(ExitStatus::Negative, strPath + ": no template in it whose name is free",
                           { strPath });
        }
        for (const QString& name : after) {
            if (!before.contains(name)) {
                requireName(name, ExitStatus::Damaged, strPath + ": ");
            }
        }
    });
}
