"""Users of known content for the tests of pages and pictures: users.py NAME DIR writes one."""
import os
import re
import sys
from xml.sax.saxutils import quoteattr

NAMES = ['自选股', '分时走势', 'K线', '成交明细', '资金流向', '公告 & 新闻', '行业板块', '期权T型报价',
         '期货套利', '委托', '持仓', '研报']


def window(group, screen, left, top, width, height, name='', panels=(), main=0, maximized=0):
    tree = ''.join(f'<Panel name={quoteattr(each)} kind="p"/>' for each in panels)
    if len(panels) > 1:
        tree = f'<Splitter orientation="horizontal" ratio="0.4">{tree}</Splitter>'
    tree = f'<DockArea version="2">{tree}</DockArea>' if panels else ''
    return (f'<LayoutWindow screen_id="{screen}" is_main="{main}" maximized="{maximized}" '
            f'left="{left}" top="{top}" width="{width}" height="{height}" '
            f'navtree={quoteattr(name)} panelgroup_id="{group}">{tree}</LayoutWindow>')


def screen(group, number, left, top, width, height, main=0):
    return window(group, number, left, top, width, height, '首页/行情', ('行业板块', 'K线'), main, 1)


def named(number):
    return NAMES[number % len(NAMES)]


def twenty():
    """Three screens and 20 windows, some of them on top of others."""
    windows = [screen(6000, 1, 0, 0, 1920, 1040, 1), screen(101, 2, 1920, -200, 2560, 1400)]
    for i in range(9):
        windows.append(window(200 + i, 2, 1980 + 620 * (i % 4), -120 + 420 * (i // 4), 580, 390,
                              f'看盘/{named(i)}', (named(i), named(i + 1))))
    for i in range(4):
        windows.append(window(300 + i, 1, 60 + 470 * i, 640, 440, 340, f'交易/{named(i + 5)}',
                              (named(i + 5),)))
    for i in range(3):
        windows.append(window(400 + i, 3, -1180 + 60 * i, 60 + 60 * i, 700, 420,
                              f'衍生品/{named(i + 7)}', (named(i + 7),)))
    windows.append(window(500, 2, 2600, 720, 300, 200, '被挡住的', ('研报',)))
    windows.append(window(501, 2, 2540, 640, 700, 420, '盯盘', ('K线', '成交明细')))
    return windows


def moved():
    """What became of twenty(): some moved, one resized, one gone, one new."""
    places = {200: (2100, -60, 580, 390), 300: (180, 300, 440, 340), 401: (-1120, 500, 700, 420),
              501: (2540, 640, 900, 520)}
    windows = []
    for each in twenty():
        group = int(re.search('panelgroup_id="([0-9]+)"', each)[1])
        if group in places:
            place = dict(zip(('left', 'top', 'width', 'height'), places[group]))
            for name, value in place.items():
                each = re.sub(f' {name}="[^"]*"', f' {name}="{value}"', each)
        if group != 208:
            windows.append(each)
    return windows + [window(600, 1, 1200, 120, 600, 400, '新窗口', ('期权T型报价',))]


def sixty():
    windows = [screen(6000, 1, 0, 0, 1920, 1040, 1), screen(6001, 2, 1920, 0, 1920, 1040)]
    for i in range(58):
        windows.append(window(100 + i, 1 + i % 2, 1920 * (i % 2) + 40 + 300 * (i // 2 % 6),
                              20 + 190 * (i // 12), 340, 230, f'看盘/{named(i)}', (named(i),)))
    return windows


def odd():
    """All that goes wrong with windows, on two screens above each other and a small one."""
    return [screen(6000, 1, 0, 0, 1920, 1080, 1), screen(6001, 2, 0, 1080, 1920, 1080),
            window(103, 3, 1920, 700, 90, 300, '窄', ('K线',)),
            window(104, 1, -300, 200, 900, 400, '伸出左边', ('自选股',)),
            window(105, 1, 700, 300, 500, 300, '在下面', ('委托',)),
            window(106, 1, 650, 250, 640, 420, '盖住它的', ('持仓',)),
            window(107, 2, 400, 1500, 0, 0, '没有大小', ('研报',)),
            window(108, 2, 400, 1500, 7000, 300, '比桌面还宽', ('研报',)),
            window(109, 1, -32000, -32000, 160, 28, '最小化'),
            window(110, 2, 9000, 300, 800, 600, '丢失的窗口', ('资金流向',)),
            window(111, 2, 100, 1300, 2147483647, 2147483647, '无边'),
            window(112, 1, 1300, 120, 560, 200,
                   '一个非常非常非常长的导航树名称，怎么也放不下，只好截断，后面还有很多很多的字', ('K线',))]


LONG = 'l' + 'o' * 300 + 'ng'


def long():
    """Words that have no end, wherever the user or the tool may put some."""
    windows = [screen(6000, 1, 0, 0, 1920, 1040, 1),
               window(2147483647, 2147483647, -2147483648, -2147483648, 2147483647, 2147483647, LONG, (LONG,)),
               window(101, 1, 10, 10, 400, 300, LONG, (LONG, LONG))]
    stock = f'<Stock market={quoteattr(LONG)} code={quoteattr(LONG)} name={quoteattr(LONG)}/>'
    user = text(windows, f'<Custom type="9">{stock}</Custom><Custom type="2147483647">{stock}</Custom>')
    return user.replace('oaUser="analyst"', f'oaUser="{LONG}"').replace(
        '</ICUserConfigFile>', f'<{LONG} {LONG}="{LONG}"/></ICUserConfigFile>')


def edges():
    """Windows of which strips are left, at edges and between others, and some that hang off."""
    windows = [screen(6000, 1, 0, 0, 1920, 1040, 1)]
    for i, (left, top, width, height) in enumerate([
            (0, 100, 300, 200), (3, 90, 400, 220), (1617, 100, 303, 200), (1610, 90, 307, 220),
            (600, 840, 300, 200), (590, 830, 320, 207), (900, 300, 6, 6), (-500, 500, 505, 200),
            (1915, 500, 600, 200), (600, -95, 300, 100), (1200, 1035, 300, 100)]):
        windows.append(window(100 + i, 1, left, top, width, height, named(i), (named(i),)))
    return windows


def reordered():
    """The sample whose first list has its last stock on top, and its templates the other way round."""
    user = sample()
    quote = re.search(r'<LayoutTemplates>.*</LayoutTemplates>', user, re.S)[0]
    templates = re.findall(r'<LayoutTemplate .*?</LayoutTemplate>', quote, re.S)
    user = user.replace(quote, '<LayoutTemplates>' + ''.join(reversed(templates)) + '</LayoutTemplates>')
    return re.sub(r'(<Custom type="0">\s*)(.*?)(<Stock [^>]*/>\s*)(</Custom>)', r'\1\3\2\4', user, count=1, flags=re.S)


EVIL = '"></td></script><script>document.title = "broken"</script><img src="x" onerror="alert(1)">'


def hostile():
    """Names that would be markup, and windows of which none has a place."""
    lists = f'<Custom type="9"><Stock market="SH" code={quoteattr(EVIL)} name={quoteattr(EVIL)}/></Custom>'
    return text([window(1, 1, 0, 0, 0, 0, EVIL, (EVIL,))], lists)


def stocks(count):
    rows = ''.join(f'<Stock market="{"SH" if i % 2 else "SZ"}" code="{600000 + i}" '
                   f'name="{named(i).replace("&", "和")}{i}"/>' for i in range(count))
    return f'<Custom type="9">{rows}</Custom>'


def sample():
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    with open(os.path.join(root, 'examples', 'user', 'indexUserConfig.xml'), encoding='utf-8') as file:
        return file.read()


def text(windows, lists=''):
    """The sample with other windows, and these only, and more lists."""
    user = sample()
    for section in ('DefaultLayout', 'IndexLayout', 'FormulaPanelGroupLayout', 'ValuePanelGroupLayout',
                    'LayoutTemplates', 'tradePanelGroup', 'tradeLayoutTemplates'):
        user = re.sub(f'<{section}>.*?</{section}>', f'<{section}/>', user, flags=re.S)
    user = user.replace('<IndexLayout/>', '<IndexLayout>\n' + '\n'.join(windows) + '\n</IndexLayout>')
    return user.replace('</Customs>', lists + '</Customs>')


USERS = {'sample': sample, 'hostile': hostile, 'twenty': lambda: text(twenty()), 'moved': lambda: text(moved()),
         'sixty': lambda: text(sixty()), 'odd': lambda: text(odd()), 'torn': lambda: '<a>',
         'stocks': lambda: text(twenty(), stocks(50000)), 'long': long, 'edges': lambda: text(edges()),
         'reordered': reordered}


def write(name, directory):
    os.makedirs(directory, exist_ok=True)
    path = os.path.join(directory, 'indexUserConfig.xml')
    with open(path, 'w', encoding='utf-8') as file:
        file.write(USERS[name]())
    return path


if __name__ == '__main__':
    write(sys.argv[1], sys.argv[2])
