#!/usr/bin/env python3
"""largeusers.py DIR: users of a size that nobody has yet, each a directory below DIR: stocks
(50,000), copies (30 dated ones of that), attributes and read-attributes (20,000 on one element),
windows (3,000); and lists.csv, as many other stocks."""

import datetime
import os
import sys

STOCKS = 50_000
COPIES = 30
ATTRIBUTES = 20_000
WINDOWS = 3_000

EMPTY = ("CustomIndex", "CustomSector", "FormulaCatalog", "Option", "GroupIndex",
         "ExtendDataCatalog", "externalDataCatalog", "drawGraph", "strategyTrade",
         "strategyAlgoTrade", "WindDataCatalog", "interfaceTrade", "specialstrategydata")


def window(tag, number, screen=1):
    tree = (f'<Dock><Splitter orientation="horizontal" ratio="0.25"><Panel name="p{number}"/>'
            f'<Panel name="q{number}"/></Splitter></Dock>')
    nav = f' navtree="tree/{number}"' if tag == "LayoutWindow" else ""
    return (f'<{tag} screen_id="{screen}" is_main="0" maximized="0" left="{number % 1000}" '
            f'top="{number % 700}" width="640" height="480" panelgroup_id="{number}"{nav}>'
            f"{tree}</{tag}>\n")


def stocks(count):
    lists = []
    for first in range(0, count, 100):
        rows = "".join(f'<Stock market="SH" code="{n:06}" name="股票{n}"/>\n'
                       for n in range(first, min(first + 100, count)))
        lists.append(f'<Custom type="{first // 100}">{rows}</Custom>\n')
    return "".join(lists)


def user(stock_count=50, window_count=5, catalogue=""):
    windows = "".join(window("LayoutWindow", n) for n in range(window_count))
    template = "".join(window("LayoutWindowTemplate", n) for n in range(min(window_count, 50)))
    empty = "".join(f"<{name}/>\n" for name in EMPTY if not (catalogue and name == "FormulaCatalog"))
    return ('<?xml version="1.0" encoding="utf-8"?>\n<ICUserConfigFile>\n'
            f"<DefaultLayout/>\n<IndexLayout>{windows}</IndexLayout>\n<IndexPositionLayout/>\n"
            f'<LayoutTemplates><LayoutTemplate name="A">{template}</LayoutTemplate>'
            "</LayoutTemplates>\n<tradePanelGroup/>\n<tradeLayoutTemplates/>\n"
            f'<ConfigVersion version_id="11"/>\n{catalogue}{empty}'
            f"<CustomStock><Customs>{stocks(stock_count)}</Customs></CustomStock>\n"
            '<UserParams m_bFormulaFunctionTreeExpand="1"/>\n</ICUserConfigFile>\n')


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as out:
        out.write(text)


def main(directory):
    def live(name):
        return os.path.join(directory, name, "indexUserConfig.xml")

    large = user(stock_count=STOCKS, window_count=500)
    write(live("stocks"), large)
    write(live("copies"), large)
    day = datetime.date(2024, 1, 1)
    for n in range(COPIES):
        date = (day + datetime.timedelta(n)).strftime("%Y%m%d")
        write(os.path.join(directory, "copies", "Temp", "indexUserConfig.xml_" + date), large)
    many = " ".join(f'a{n}="{n}"' for n in range(ATTRIBUTES))
    write(live("attributes"), user().replace("<Splitter ", f"<Splitter {many} ", 1))
    write(live("read-attributes"), user().replace("<DefaultLayout/>", f"<DefaultLayout {many}/>", 1))
    write(live("windows"), user(window_count=WINDOWS))
    rows = "".join(f"{n // 100},SZ,{n:06},新股{n}\r\n" for n in range(STOCKS))
    write(os.path.join(directory, "lists.csv"), "list,market,code,name\r\n" + rows)


if __name__ == "__main__":
    main(sys.argv[1])
