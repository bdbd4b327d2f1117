"""A browser that shows what indexuserctl writes; see pages.py for the tests."""
import json
import os
import subprocess
import sys
import tempfile
import time

import users

SKIPPED = 77  # what CTest takes for a test that was left out


def leave_out(why):
    print(f'No browser here, left out: {why}')
    sys.exit(SKIPPED)


try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:
    leave_out('python3-selenium is not installed')
for program in ('/usr/bin/chromium', '/usr/bin/chromedriver', '/usr/bin/pdftotext'):
    if not os.path.exists(program):
        leave_out(f'{program} is not installed')


class Browser:
    """One window; pages are files of a directory that goes with it."""

    def __init__(self, tool):
        self.tool = tool
        self.directory = tempfile.TemporaryDirectory()
        options = webdriver.ChromeOptions()
        options.binary_location = '/usr/bin/chromium'
        for argument in ('--headless=new', '--no-sandbox', '--disable-gpu', '--hide-scrollbars',
                         '--disable-dev-shm-usage', '--force-device-scale-factor=1',
                         '--window-size=1280,900',
                         f'--user-data-dir={self.directory.name}/profile'):
            options.add_argument(argument)
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL'})
        self.driver = webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)

    def close(self):
        self.driver.quit()
        self.directory.cleanup()

    def cdp(self, command, **parameters):
        return self.driver.execute_cdp_cmd(command, parameters)

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def user(self, name):
        """The directory of a user of users.py."""
        directory = os.path.join(self.directory.name, name)
        if not os.path.exists(directory):
            users.write(name, directory)
        return directory

    def tell(self, directory, *words):
        subprocess.run([self.tool, '--config-dir', directory, *words], check=True, stdout=subprocess.DEVNULL)

    def write(self, name, words):
        """What the tool writes for a user; its path."""
        path = os.path.join(self.directory.name, '-'.join(words[:2] + [name, str(len(words))]))
        path += '.svg' if words[0] == 'layout' else '.html'
        if not os.path.exists(path):
            subprocess.run([self.tool, '--config-dir', self.user(name), *words, '--out', path],
                           check=True, stdout=subprocess.DEVNULL)
        return path

    def report(self, name, before=None):
        words = ['report']
        if before:
            words += ['--against', os.path.join(self.user(before), 'indexUserConfig.xml')]
        return self.show(self.write(name, words))

    def index(self, names):
        """The index over the pages of some users; its path."""
        pages = os.path.join(self.directory.name, '-'.join(['index', *names]))
        if not os.path.exists(pages):
            lines = '\n'.join(self.user(name) for name in names)
            subprocess.run([self.tool, 'report', '--users-from', '-', '--out', pages],
                           input=lines.encode(), stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)
        return self.show(os.path.join(pages, 'index.html'))

    def picture(self, name, before=None):
        words = ['layout', 'draw']
        if before:
            words += ['--against', os.path.join(self.user(before), 'indexUserConfig.xml')]
        return self.show(self.write(name, words))

    def show(self, path):
        self.driver.get('about:blank')
        self.driver.get('file://' + path)
        return path

    def size(self, width, height=900):
        self.cdp('Emulation.setDeviceMetricsOverride', width=width, height=height,
                 deviceScaleFactor=1, mobile=width < 600)

    def scheme(self, name):
        self.cdp('Emulation.setEmulatedMedia',
                 features=[{'name': 'prefers-color-scheme', 'value': name}])

    def scripts(self, enabled):
        self.cdp('Emulation.setScriptExecutionDisabled', value=not enabled)

    def usual(self):
        self.cdp('Emulation.clearDeviceMetricsOverride')
        self.scheme('light')
        self.scripts(True)
        self.complaints()

    def complaints(self):
        return [entry['message'] for entry in self.driver.get_log('browser')]

    def unfold(self):
        self.run('document.querySelectorAll("details").forEach(each => { each.open = true; })')

    def type(self, text):
        """Types into the filter, the whole of it."""
        self.run('const filter = document.getElementById("filter"); filter.value = arguments[0];'
                 'filter.dispatchEvent(new Event("input", { bubbles: true }))', text)

    def names(self):
        """Role and name of all that a screen reader meets."""
        nodes = self.cdp('Accessibility.getFullAXTree')['nodes']
        return [(node['role']['value'], node.get('name', {}).get('value', ''))
                for node in nodes if not node['ignored']]

    def pdf(self):
        """The printed pages, each as its lines."""
        import base64
        path = os.path.join(self.directory.name, 'page.pdf')
        data = self.cdp('Page.printToPDF', printBackground=True, preferCSSPageSize=True)['data']
        with open(path, 'wb') as file:
            file.write(base64.b64decode(data))
        text = subprocess.run(['pdftotext', '-layout', path, '-'], check=True,
                              capture_output=True, text=True).stdout
        return [[line.strip() for line in page.splitlines() if line.strip()]
                for page in text.split('\f') if page.strip()]


# Text, its colour and what is painted below it, for all text of the page that is seen.
CONTRASTS = r'''
const found = [];
function channels(text) {
    const numbers = text.match(/[\d.]+/g).map(Number);
    return numbers.length < 4 ? numbers.concat(1) : numbers;
}
function luminance(color) {
    const [r, g, b] = color.map(each => {
        const share = each / 255;
        return share <= 0.03928 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}
function painted(element) {
    const style = getComputedStyle(element);
    const color = element instanceof SVGElement
        ? (element.tagName === 'rect' && style.fill !== 'none' ? style.fill : null)
        : style.backgroundColor;
    const parts = color ? channels(color) : [0, 0, 0, 0];
    return parts[3] > 0.99 ? parts.slice(0, 3) : null;
}
const walker = document.createTreeWalker(document.documentElement, NodeFilter.SHOW_TEXT);
for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    const element = node.parentElement;
    if (!node.data.trim() || ['STYLE', 'SCRIPT', 'style', 'title', 'desc', 'TITLE'].includes(element.tagName)) {
        continue;
    }
    const range = document.createRange();
    range.selectNodeContents(node);
    element.scrollIntoView({ block: 'center', inline: 'center' });
    const box = range.getBoundingClientRect();
    const under = document.elementsFromPoint(box.x + Math.min(box.width / 2, 20), box.y + box.height / 2);
    const at = under.indexOf(element);
    if (box.width < 1 || at < 0) {
        continue;
    }
    const ground = under.slice(at).map(painted).find(Boolean) || [255, 255, 255];
    const style = getComputedStyle(element);
    const ink = channels(element instanceof SVGElement ? style.fill : style.color);
    const [dark, light] = [luminance(ink), luminance(ground)].sort((a, b) => a - b);
    found.push([(light + 0.05) / (dark + 0.05), node.data.trim().slice(0, 40),
                ink.join(), ground.join()]);
}
return found;
'''
