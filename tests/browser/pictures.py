"""Takes the pictures of docs/pictures/ anew. Usage: pictures.py TOOL DIR; then pngquant them."""
import base64
import os
import shutil
import subprocess
import sys

import browser as browsers

WIDTH = 1280


def shoot(browser, path, width, height=None):
    """The top of what is shown, or all of it."""
    browser.size(width, height or 900)
    if height is None:
        height = browser.run('return document.documentElement.getBoundingClientRect().height')
        browser.size(width, int(height) + 1)
    data = browser.cdp('Page.captureScreenshot', format='png')['data']
    with open(path, 'wb') as file:
        file.write(base64.b64decode(data))


def shoot_picture(browser, path, name, before=None):
    browser.picture(name, before)
    width = browser.run('return document.documentElement.width.baseVal.value')
    shoot(browser, path, int(width) + 1)


def shoot_paper(browser, path):
    printed = os.path.join(browser.directory.name, 'page.pdf')
    data = browser.cdp('Page.printToPDF', printBackground=True)['data']
    with open(printed, 'wb') as file:
        file.write(base64.b64decode(data))
    subprocess.run(['pdftoppm', '-png', '-r', '60', '-f', '3', '-l', '3', '-singlefile', printed,
                    path.removesuffix('.png')], check=True)


def used(browser):
    """The sample after some days: edits, a dated copy; and what became of twenty windows."""
    sample = browser.user('sample')
    for value in ('reportRefreshTime=750', 'reportRefreshTime=800', 'tickRestoreDay=5'):
        subprocess.run([browser.tool, '--config-dir', sample, 'option', 'set', value], check=True,
                       stdout=subprocess.DEVNULL)
    copies = os.path.join(browser.user('moved'), 'Temp')
    os.mkdir(copies)
    shutil.copy(os.path.join(browser.user('twenty'), 'indexUserConfig.xml'),
                os.path.join(copies, 'indexUserConfig.xml_20240131'))


def main(tool, directory):
    browser = browsers.Browser(os.path.abspath(tool))
    at = lambda name: os.path.join(directory, name + '.png')
    try:
        browser.usual()
        used(browser)
        browser.report('sample')
        browser.run('const path = document.querySelector(".path");'
                    'path.textContent = path.textContent.replace(arguments[0], "…")',
                    browser.directory.name)
        shoot(browser, at('page'), WIDTH, 1000)
        browser.scheme('dark')
        browser.report('sample')
        browser.run('document.getElementById("layouts").scrollIntoView()')
        shoot(browser, at('dark'), WIDTH, 1000)
        browser.scheme('light')
        browser.show(browser.write('moved', ['report', '--against', '2024-01-31']))
        browser.run('document.getElementById("layouts").scrollIntoView()')
        shoot(browser, at('comparison'), WIDTH, 1000)
        browser.report('sample')
        shoot_paper(browser, at('paper'))
        browser.size(360, 1000)
        browser.report('twenty')
        browser.run('document.getElementById("layouts").scrollIntoView()')
        shoot(browser, at('phone'), 360, 1000)
        browser.usual()
        shoot_picture(browser, at('windows-20'), 'twenty')
        shoot_picture(browser, at('windows-60'), 'sixty')
        shoot_picture(browser, at('windows-odd'), 'odd')
    finally:
        browser.close()


if __name__ == '__main__':
    main(*sys.argv[1:])
