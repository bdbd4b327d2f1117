"""Drives the pages and pictures of indexuserctl in a browser. Usage: pages.py TOOL [TEST...]"""
import os
import re
import statistics
import sys
import time
import unittest
import xml.etree.ElementTree as ET

import browser as browsers
import users

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

PAGES = [('sample', None), ('twenty', None), ('odd', None), ('moved', 'twenty')]
INDEXED = ['sample', 'odd', 'torn', 'twenty']
# Roles whose elements say nothing without a name.
NAMED = {'link', 'button', 'searchbox', 'textbox', 'heading', 'img', 'image', 'table', 'navigation',
         'region', 'columnheader', 'rowheader', 'graphics-document', 'GraphicsDocument',
         'DisclosureTriangle', 'DisclosureTriangleGrouped', 'group', 'SvgRoot', 'graphics-symbol'}
HEADINGS = 'return [...document.querySelectorAll("h1, h2, h3")].map(each => each.textContent)'
VISIBLE = '''return [...document.querySelectorAll(arguments[0])].filter(
    row => row.checkVisibility()).map(row => row.textContent.replace(/\\s+/g, " ").trim())'''

# Text that leaves its cell, or a cell that leaves its section.
OVERFLOWS = '''return [...document.querySelectorAll("main td, main th, main dd, main p, main summary")].filter(cell => {
    if (!cell.checkVisibility() || cell.closest("thead") && innerWidth <= 704) return false;
    const range = document.createRange();
    range.selectNodeContents(cell);
    const box = cell.getBoundingClientRect(), section = cell.closest("section").getBoundingClientRect();
    return box.width > 0 && (range.getBoundingClientRect().right > box.right + 0.5
        || box.right > section.right + 0.5);
}).map(cell => cell.outerHTML.slice(0, 60))'''
# Numbers below something else, or beyond the desktop, of windows that are not covered.
HIDDEN_NUMBERS = '''
const covered = [...document.querySelectorAll(".row.amiss")].map(row => row.id.replace("row", "window"));
const clip = document.querySelector("clipPath rect");
const edge = ["x", "y", "width", "height"].map(each => clip[each].baseVal.value);
return [...document.querySelectorAll("[id^=layout-window-]")].filter(each => {
    if (covered.includes(each.id)) return false;
    const badge = each.querySelector(".badge"), box = badge.getBBox(), number = each.querySelector(".number");
    if (box.x < edge[0] || box.y < edge[1] || box.x + box.width > edge[0] + edge[2]
        || box.y + box.height > edge[1] + edge[3]) return true;
    badge.scrollIntoView({ block: "center", inline: "center" });
    const seen = badge.getBoundingClientRect();
    return ![[0.1, 0.1], [0.9, 0.1], [0.1, 0.9], [0.9, 0.9]].every(([x, y]) => {
        document.querySelectorAll(".tight").forEach(tag => { tag.style.pointerEvents = "auto"; });
        const at = document.elementFromPoint(seen.x + x * seen.width, seen.y + y * seen.height);
        const tag = at && at.closest(".tag");
        return tag && tag.querySelector(".number").textContent === number.textContent;
    });
}).map(each => each.id)'''


def stocks_of(name):
    root = ET.fromstring(users.USERS[name]())
    return [stock.get('market') + stock.get('code') + stock.get('name') for stock in root.iter('Stock')]


def windows_of(name):
    return list(ET.fromstring(users.USERS[name]()).find('IndexLayout').iter('LayoutWindow'))


class Pages(unittest.TestCase):
    """Each test begins on a page of its own, as a user opens it."""

    def setUp(self):
        BROWSER.usual()

    def rows(self, selector):
        return BROWSER.run(VISIBLE, selector)

    def test_nothing_is_complained_of(self):
        for name, before in PAGES:
            BROWSER.report(name, before)
            BROWSER.type('a')
            BROWSER.picture(name, before)
            self.assertEqual(BROWSER.complaints(), [], name)

    def test_names_are_never_markup(self):
        for show in (BROWSER.report, BROWSER.picture):
            show('hostile')
            if show == BROWSER.report:
                BROWSER.type('script')
            self.assertNotEqual(BROWSER.driver.title, 'broken')
            self.assertEqual(BROWSER.run('return document.querySelectorAll("img, script").length'),
                             1 if show == BROWSER.report else 0)
            self.assertIn(users.EVIL, BROWSER.run('return document.documentElement.textContent'))
            self.assertEqual(BROWSER.complaints(), [])

    def test_the_policy_of_a_page_lets_no_other_script_run(self):
        BROWSER.report('sample')
        BROWSER.run('''const script = document.createElement("script");
            script.textContent = "document.title = 'broken'";
            document.body.appendChild(script)''')
        self.assertNotEqual(BROWSER.driver.title, 'broken')
        self.assertIn('Content Security Policy', ' '.join(BROWSER.complaints()))

    def test_the_filter_shows_what_matches_and_nothing_else(self):
        BROWSER.report('twenty')
        BROWSER.type('600')
        expected = [each for each in stocks_of('twenty') if '600' in each]
        self.assertEqual(self.rows('.matches tbody tr'), expected)
        self.assertEqual(self.rows('.chunks tr'), [])
        options = self.rows('.options tbody tr')
        self.assertTrue(options and all('600' in each for each in options), options)
        shown = [each.get('panelgroup_id') for each in windows_of('twenty')
                 if '600' in ''.join(each.attrib.values())]
        found = BROWSER.run(VISIBLE, '#layouts .windows tbody tr td:nth-child(4)')
        self.assertLessEqual(set(shown), set(found))
        self.assertIn(f'{len(expected)} stocks', BROWSER.run('return found.textContent'))

    def test_every_word_of_a_filter_has_to_match(self):
        BROWSER.report('sample')
        BROWSER.type('sh  茅台')
        self.assertEqual(self.rows('.matches tbody tr'), ['SH600519贵州茅台'])
        BROWSER.type('sz 茅台')
        self.assertEqual(self.rows('.matches tbody tr'), [])

    def test_what_does_not_match_is_dim_in_the_picture(self):
        BROWSER.report('twenty')
        BROWSER.type('盯盘')
        dim = BROWSER.run('return document.querySelectorAll("#layout-2 .window.dim").length')
        self.assertEqual(dim, len(windows_of('twenty')) - 1)

    def test_without_a_filter_all_is_as_it_was(self):
        state = '''return [...document.querySelectorAll("main *")].filter(
            each => each.id !== "found").map(each => [each.checkVisibility(), each.tagName,
            each.open === true, each.getAttribute("class") || ""].join())'''
        BROWSER.report('sample')
        BROWSER.run('document.getElementById("options-default").open = true')
        before = BROWSER.run(state)
        for word in ('600', 'nothing has this', ''):
            BROWSER.type(word)
        self.assertEqual(BROWSER.run(state), before)

    def test_long_lists_are_folded_and_open_by_a_click(self):
        BROWSER.report('stocks')
        self.assertEqual(self.rows('#stocks-9 .chunk'), [])
        BROWSER.driver.find_element(By.CSS_SELECTOR, '#stocks-9 summary').click()
        count = BROWSER.run('return document.querySelectorAll("#stocks-9 tbody tr").length')
        self.assertEqual(count, 50000)
        self.assertTrue(self.rows('#stocks-9 .chunk'))
        self.assertTrue(self.rows('#stocks-0 .chunk'))

    def test_a_key_filters_50000_stocks_in_less_than_100_ms(self):
        BROWSER.report('stocks')
        stocks = stocks_of('stocks')
        timed = '''
            const filter = document.getElementById("filter");
            return arguments[0].map(text => {
                filter.value = text;
                const began = performance.now();
                filter.dispatchEvent(new Event("input", { bubbles: true }));
                document.body.offsetHeight;
                return performance.now() - began;
            });'''
        typed = ['6', '60', '601', '6012', '60123', '6012', 'k', 'k线', 'k线1', 'k线12', 'k', '']
        BROWSER.run(timed, typed)
        # A busy machine makes any round slow, but not all of a minute.
        ends = time.monotonic() + 60
        median = 1000
        while median >= 100 and time.monotonic() < ends:
            median = statistics.median(BROWSER.run(timed, typed))
        print(f'a key among 50,000 stocks: {median:.0f} ms')
        self.assertLess(median, 100)
        BROWSER.type('K线1')
        expected = [each for each in stocks if 'K线1' in each]
        self.assertIn(f'{len(expected):,} stocks', BROWSER.run('return found.textContent'))
        self.assertEqual(self.rows('.matches tbody tr'), expected[:100])
        self.assertIn(f'{len(expected) - 100:,} more match', BROWSER.run('return document.body.innerText'))

    def test_the_keyboard_reaches_all_and_raises_windows(self):
        BROWSER.report('sample')
        seen = []
        while len(seen) < 60 and 'layout-2-row-2' not in seen:
            ActionChains(BROWSER.driver).send_keys(Keys.TAB).perform()
            seen.append(BROWSER.run('''const now = document.activeElement;
                return now.id || (now.getAttribute("href") || now.tagName).slice(-14)'''))
        self.assertEqual(seen[0], '#main')
        self.assertIn('filter', seen)
        self.assertIn('SUMMARY', seen)
        self.assertIn('BUTTON', seen)
        self.assertEqual(seen[-1], 'layout-2-row-2')
        raised = BROWSER.run('return document.querySelector("#layout-2 use.raised").getAttribute("href")')
        self.assertEqual(raised, '#layout-2-window-2')
        self.assertEqual(self.rows('#layout-2 tr.lit th'), ['2'])
        outline = BROWSER.run('''return getComputedStyle(document.activeElement.querySelector(".face"))
            .strokeWidth''')
        self.assertEqual(outline, '3.5px')
        ActionChains(BROWSER.driver).send_keys(Keys.ENTER).perform()
        self.assertTrue(BROWSER.driver.current_url.endswith('#layout-2-row-2'))

    def test_the_pointer_raises_a_window_and_its_row(self):
        BROWSER.report('twenty')
        rows = BROWSER.driver.find_elements(By.CSS_SELECTOR, '#layout-2 .windows tbody tr')
        covered = [row for row in rows if 'completely covered' in row.text]
        self.assertEqual(len(covered), 1)
        ActionChains(BROWSER.driver).move_to_element(covered[0]).perform()
        number = covered[0].find_element(By.TAG_NAME, 'th').text
        raised = BROWSER.driver.find_element(By.CSS_SELECTOR, '#layout-2 use.raised')
        self.assertEqual(raised.get_attribute('href'), f'#layout-2-window-{number}')
        face = BROWSER.run('return arguments[0].getBoundingClientRect().width', raised)
        self.assertGreater(face, 20)
        window = BROWSER.driver.find_element(By.CSS_SELECTOR, '#layout-2-window-20 .badge')
        ActionChains(BROWSER.driver).move_to_element(window).perform()
        self.assertEqual(raised.get_attribute('href'), '#layout-2-window-20')
        self.assertEqual(self.rows('#layout-2 tr.lit th'), ['20'])

    def test_a_switch_shows_one_screen(self):
        BROWSER.report('twenty')
        picture = BROWSER.driver.find_element(By.CSS_SELECTOR, '#layout-2 .picture')
        whole = picture.get_attribute('viewBox')
        buttons = BROWSER.driver.find_elements(By.CSS_SELECTOR, '#layout-2 .screens button')
        self.assertEqual([each.text for each in buttons], ['All screens', 'Screen 1', 'Screen 2', 'Screen 3'])
        buttons[2].click()
        expected = [str(i + 1) for i, each in enumerate(windows_of('twenty')) if each.get('screen_id') == '2']
        self.assertEqual(self.rows('#layout-2 .windows tbody th'), expected)
        self.assertEqual([each.get_attribute('aria-pressed') for each in buttons],
                         ['false', 'false', 'true', 'false'])
        left, width = (BROWSER.run('''const box = document.querySelector("#layout-2-window-2 .face")
            .getBoundingClientRect(), all = arguments[0].getBoundingClientRect();
            return [(box.x - all.x) / all.width, box.width / all.width]''', picture))
        self.assertLess(abs(left), 0.02)
        self.assertGreater(width, 0.95)
        buttons[0].click()
        self.assertEqual(picture.get_attribute('viewBox'), whole)
        self.assertEqual(len(self.rows('#layout-2 .windows tbody th')), 20)

    def test_without_scripts_the_page_is_whole(self):
        BROWSER.scripts(False)
        BROWSER.report('sample')
        self.assertFalse(BROWSER.driver.find_element(By.ID, 'filter').is_displayed())
        self.assertEqual(self.rows('.screens button'), [])
        BROWSER.unfold()
        self.assertEqual(self.rows('.stocks tbody tr'), stocks_of('sample'))
        self.assertEqual(len(self.rows('.options tbody tr')), 33)
        BROWSER.driver.find_element(By.CSS_SELECTOR, '#layout-2-row-1 a').click()
        self.assertTrue(BROWSER.driver.current_url.endswith('#layout-2-window-1'))

    def test_a_phone_needs_no_sideways_scroll(self):
        BROWSER.size(360, 740)
        for name, before in PAGES:
            BROWSER.report(name, before)
            BROWSER.unfold()
            self.assertEqual(BROWSER.run('return innerWidth'), 360)
            wide = BROWSER.run('''return [...document.querySelectorAll("main *")].filter(each =>
                !each.closest("svg") && !each.closest("thead")
                && each.getBoundingClientRect().right > 360.5).map(each => each.outerHTML.slice(0, 80))''')
            self.assertEqual(wide, [], name)
            self.assertLessEqual(BROWSER.run('return document.documentElement.scrollWidth'), 360)

    def test_long_words_break_in_their_cells(self):
        user = BROWSER.user('long')
        for value in (users.LONG + '2', users.LONG):
            BROWSER.tell(user, 'option', 'set', 'oaUser=' + value)
        for width in (360, 800, 1200):
            BROWSER.size(width, 740)
            for before in (None, 'sample'):
                BROWSER.report('long', before)
                BROWSER.unfold()
                self.assertIn(users.LONG, BROWSER.run('return document.querySelector("main").textContent'))
                self.assertLessEqual(BROWSER.run('return document.documentElement.scrollWidth'), width)
                self.assertEqual(BROWSER.run(OVERFLOWS), [], (width, before))
                effects = BROWSER.run('''return [...document.querySelectorAll(".findings td:nth-child(-n + 3)")].map(
                    cell => { const range = document.createRange(); range.selectNodeContents(cell);
                              return range.getClientRects().length; })''')
                self.assertEqual(effects, [1] * len(effects))
                self.assertTrue(effects)

    def test_a_stock_that_moved_is_told_with_its_places(self):
        BROWSER.report('reordered', 'sample')
        self.assertEqual(self.rows('#stocks .changes tbody tr'), ['SZ300750宁德时代moved from 4 to 1'])
        self.assertIn('List 0 changed', self.rows('#stocks h3'))

    def test_templates_in_another_order_are_told_with_both(self):
        BROWSER.report('reordered', 'sample')
        told = self.rows('#templates .changes tbody tr')
        self.assertEqual(len(told), 1)
        self.assertRegex(told[0], r'LayoutTemplates@\(order\).*早盘.*期权.*期权.*早盘')
        self.assertEqual(self.rows('#layouts .changes tbody tr'), [])
        BROWSER.report('sample', 'sample')
        self.assertEqual(self.rows('.changes tbody tr'), [])

    def test_every_number_of_a_picture_is_seen_whole(self):
        for name, before in (('edges', None), ('twenty', None), ('odd', None), ('sixty', None), ('sample', 'edges')):
            BROWSER.picture(name, before)
            self.assertEqual(BROWSER.run(HIDDEN_NUMBERS), [], name)
        BROWSER.picture('edges')
        numbers = BROWSER.run('return document.querySelectorAll(".window .badge").length')
        self.assertEqual(numbers, len(users.edges()))
        self.assertEqual(BROWSER.run('return document.querySelectorAll(".tight").length > 3'), True)

    def test_dark_is_dark_and_light_is_light(self):
        for show in (BROWSER.report, BROWSER.picture):
            show('sample')
            for scheme, dark in (('dark', True), ('light', False)):
                BROWSER.scheme(scheme)
                color = BROWSER.run('''const paper = document.querySelector("rect.paper");
                    return paper ? getComputedStyle(paper).fill
                        : getComputedStyle(document.body).backgroundColor''')
                self.assertEqual(sum(map(int, re.findall(r'\d+', color))) < 200, dark, (color, scheme))

    def test_all_text_stands_out_from_its_ground(self):
        BROWSER.size(1280)
        for scheme in ('light', 'dark'):
            BROWSER.scheme(scheme)
            for show in (BROWSER.report, BROWSER.picture):
                for name, before in PAGES:
                    show(name, before)
                    BROWSER.unfold() if show == BROWSER.report else None
                    found = BROWSER.run(browsers.CONTRASTS)
                    self.assertGreater(len(found), 50)
                    self.assertEqual([each for each in found if each[0] < 4.5], [], (scheme, name))

    def test_everything_has_a_name_for_screen_readers(self):
        for show in (BROWSER.report, BROWSER.picture):
            for name, before in PAGES:
                show(name, before)
                BROWSER.unfold() if show == BROWSER.report else None
                names = BROWSER.names()
                roles = {role for role, _ in names}
                self.assertLessEqual({'link', 'table', 'row', 'columnheader'}, roles)
                if show == BROWSER.report:
                    self.assertIn(('searchbox', 'Filter'), names)
                self.assertEqual([each for each in names if each[0] in NAMED and not each[1].strip()],
                                 [], name)

    def test_a_page_says_its_language_and_orders_its_headings(self):
        for name, before in PAGES:
            BROWSER.report(name, before)
            self.assertEqual(BROWSER.run('return document.documentElement.lang'), 'en')
            self.assertTrue(BROWSER.run('return document.querySelector("meta[name=viewport]") !== null'))
            levels = BROWSER.run('return [...document.querySelectorAll("h1, h2, h3, h4")].map('
                                 'each => Number(each.tagName[1]))')
            self.assertEqual(levels[0], 1)
            self.assertEqual(levels.count(1), 1)
            self.assertTrue(all(b <= a + 1 for a, b in zip(levels, levels[1:])), levels)
            self.assertEqual(BROWSER.run('return [...document.querySelectorAll("th:not([scope])")].length'), 0)
            broken = BROWSER.run('''const ids = [...document.querySelectorAll("[id]")].map(each => each.id);
                return [...document.querySelectorAll("[href^='#']")].map(
                    each => each.getAttribute("href").slice(1)).filter(each => !ids.includes(each))
                    .concat(ids.filter((each, i) => ids.indexOf(each) !== i))''')
            self.assertEqual(broken, [])

    def test_on_paper_all_is_there_and_no_heading_stands_alone(self):
        for name, before in PAGES:
            BROWSER.report(name, before)
            headings = {each.strip() for each in BROWSER.run(HEADINGS)}
            pages = BROWSER.pdf()
            stranded = [page[-1] for page in pages
                        if any(re.fullmatch(re.escape(each) + r'(\s+[0-9,]+ \w+.*)?', page[-1])
                               for each in headings)]
            self.assertEqual(stranded, [], name)
            text = ' '.join(' '.join(page) for page in pages)
            for stock in stocks_of(name):
                self.assertIn(stock[-4:], text)
            self.assertIn('initPopTaskCondition'.lower(), text.lower())

    def test_a_comparison_begins_with_what_changed(self):
        BROWSER.report('moved', 'twenty')
        rows = self.rows('#layouts .windows tbody tr')
        changed = [bool(re.search(r'moved|resized|new$|gone$', each)) for each in rows]
        self.assertEqual(changed, [True] * 6 + [False] * 15)
        self.assertIn('What changed since', BROWSER.run('return document.body.innerText'))
        for css, count in (('.ghost', 5), ('.arrow', 4), ('.window.new', 1), ('.gone .badge', 1)):
            self.assertEqual(BROWSER.run('return document.querySelectorAll("#layouts figure " + arguments[0])'
                                         '.length', css), count, css)

    def users(self):
        return [re.search(r'/(\w+)( |$)', each)[1] for each in self.rows('.users tbody th')]

    def test_an_index_sorts_by_each_column(self):
        BROWSER.index(INDEXED)
        self.assertEqual(self.users(), ['torn', 'odd', 'sample', 'twenty'])
        self.assertEqual(self.rows('.rules tbody tr'), ['off-screen12', 'window-size12'])
        by_user, by_findings = BROWSER.driver.find_elements(By.CSS_SELECTOR, '.users thead button')[:2]
        by_user.click()
        self.assertEqual(self.users(), ['odd', 'sample', 'torn', 'twenty'])
        by_user.click()
        self.assertEqual(self.users(), ['twenty', 'torn', 'sample', 'odd'])
        self.assertEqual(BROWSER.run('return document.querySelector(".users th").ariaSort'), 'descending')
        by_findings.click()
        self.assertEqual(self.users()[0], 'odd')
        by_findings.click()
        self.assertEqual(self.users()[-1], 'odd')
        self.assertEqual(len(BROWSER.driver.find_elements(By.CSS_SELECTOR, '[aria-sort]')), 1)

    def test_an_index_shows_who_matches(self):
        BROWSER.index(INDEXED)
        BROWSER.type('off-screen')
        self.assertEqual(self.users(), ['odd'])
        self.assertIn('1 user', BROWSER.run('return document.getElementById("found").textContent'))
        BROWSER.type('')
        self.assertEqual(len(self.users()), 4)

    def test_an_index_leads_to_each_page_without_scripts(self):
        BROWSER.scripts(False)
        BROWSER.index(INDEXED)
        self.assertFalse(BROWSER.driver.find_element(By.ID, 'filter').is_displayed())
        self.assertEqual(len(self.users()), 4)
        BROWSER.driver.find_element(By.CSS_SELECTOR, '.users a').click()
        self.assertEqual(BROWSER.run('return document.querySelector("h1").textContent'), 'odd')

    def test_an_index_is_as_well_made_as_a_page(self):
        for scheme in ('light', 'dark'):
            BROWSER.scheme(scheme)
            BROWSER.index(INDEXED)
            self.assertEqual([each for each in BROWSER.run(browsers.CONTRASTS) if each[0] < 4.5], [], scheme)
        names = BROWSER.names()
        self.assertIn(('searchbox', 'Filter'), names)
        self.assertEqual([each for each in names if each[0] in NAMED and not each[1].strip()], [])
        BROWSER.size(360, 740)
        BROWSER.index(INDEXED)
        self.assertLessEqual(BROWSER.run('return document.documentElement.scrollWidth'), 360)
        self.assertEqual(BROWSER.complaints(), [])

    def test_names_of_screens_stay_apart_in_the_browser(self):
        for name in ('twenty', 'odd', 'sixty'):
            BROWSER.picture(name)
            boxes = BROWSER.run('''return [...document.querySelectorAll("text.screenname")].map(each => {
                const box = each.getBoundingClientRect();
                return [box.left, box.top, box.right, box.bottom]; })''')
            for i, (left, top, right, bottom) in enumerate(boxes):
                for other in boxes[:i]:
                    self.assertFalse(left < other[2] and other[0] < right and top < other[3]
                                     and other[1] < bottom, (name, boxes))

    def test_no_text_of_a_picture_leaves_its_window(self):
        for name in ('twenty', 'odd', 'sixty', 'edges'):
            BROWSER.picture(name)
            out = BROWSER.run('''return [...document.querySelectorAll(".window")].flatMap(each => {
                const face = each.querySelector(".face").getBoundingClientRect();
                return [...each.querySelectorAll("text.name, text.panelname")].filter(
                    text => text.getBoundingClientRect().right > face.right + 0.5
                        || text.getBoundingClientRect().top < face.top - 0.5)
                    .map(text => text.textContent); })''')
            self.assertEqual(out, [], name)


if __name__ == '__main__':
    BROWSER = browsers.Browser(os.path.abspath(sys.argv.pop(1)))
    try:
        ended = unittest.main(exit=False, verbosity=2)
    finally:
        BROWSER.close()
    sys.exit(0 if ended.result.wasSuccessful() else 1)
