(function () {
    'use strict';

    var SHOWN = 100; // stocks of one list that a filter shows; more is counted
    var filter = document.getElementById('filter');
    var found = document.getElementById('found');

    function all(selector, within) {
        return Array.prototype.slice.call((within || document).querySelectorAll(selector));
    }

    // --- the filter ---

    // A row's text for searching, and the row.
    function indexRows(selector) {
        return all(selector).map(function (row) {
            var id = (row.id || '').replace('-row-', '-window-');
            var drawn = id ? document.getElementById(id) : null;
            return { text: row.textContent.toLowerCase(), row: row, fold: row.closest('details'),
                     drawn: drawn ? drawn.parentNode : null };
        });
    }

    // A list's tables have a line a stock, so that no row is touched before it is shown.
    function indexList(list) {
        var texts = [];
        var rows = [];
        all('.chunk tbody', list).forEach(function (body) {
            body.textContent.toLowerCase().split('\n').forEach(function (text, i) {
                if (i in body.rows) {
                    texts.push(text);
                    rows.push([body, i]);
                }
            });
        });
        return { list: list, texts: texts, rows: rows, chunks: list.querySelector('.chunks'),
                 matches: null };
    }

    var index = null;
    function buildIndex() {
        if (!index) {
            index = {
                rows: indexRows('.options tbody tr, .windows tbody tr, .changes tbody tr'),
                lists: all('details').filter(function (each) {
                    return each.querySelector('.chunks');
                }).map(indexList),
                folds: all('details').map(function (each) {
                    return { fold: each, open: each.open };
                })
            };
        }
        return index;
    }

    function fits(words) {
        return function (text) {
            return words.every(function (word) { return text.indexOf(word) >= 0; });
        };
    }

    function tableOf(entry, hits) {
        var body = entry.rows[hits[0]][0];
        var table = body.parentNode.cloneNode(false);
        table.setAttribute('aria-label', 'Stocks that match');
        table.appendChild(body.parentNode.tHead.cloneNode(true));
        var rows = table.appendChild(document.createElement('tbody'));
        hits.slice(0, SHOWN).forEach(function (hit) {
            rows.appendChild(entry.rows[hit][0].rows[entry.rows[hit][1]].cloneNode(true));
        });
        return table;
    }

    function showMatches(entry, hits) {
        entry.chunks.hidden = hits !== null;
        if (entry.matches) {
            entry.matches.remove();
            entry.matches = null;
        }
        entry.list.hidden = hits !== null ? hits.length === 0 : false;
        if (hits === null || hits.length === 0) {
            return;
        }
        entry.matches = document.createElement('div');
        entry.matches.className = 'matches';
        entry.matches.appendChild(tableOf(entry, hits));
        if (hits.length > SHOWN) {
            var more = entry.matches.appendChild(document.createElement('p'));
            more.className = 'none';
            more.textContent = (hits.length - SHOWN).toLocaleString('en') + ' more match';
        }
        entry.list.appendChild(entry.matches);
    }

    function filterList(entry, fit) {
        if (!fit) {
            showMatches(entry, null);
            return 0;
        }
        var hits = [];
        entry.texts.forEach(function (text, i) {
            if (fit(text)) {
                hits.push(i);
            }
        });
        showMatches(entry, hits);
        return hits.length;
    }

    function filterRow(entry, fit) {
        var hit = !fit || fit(entry.text);
        entry.row.hidden = !hit;
        if (entry.drawn) {
            entry.drawn.classList.toggle('dim', !hit);
        }
        return fit && hit ? 1 : 0;
    }

    // While there is a filter, what holds a match is open, and as it was afterwards.
    function fold(matching) {
        index.folds.forEach(function (each) {
            each.fold.open = matching ? matching.has(each.fold) : each.open;
        });
    }

    var filtered = false;
    function runFilter() {
        buildIndex();
        var words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
        if (!filtered) {
            index.folds.forEach(function (each) { each.open = each.fold.open; });
        }
        var fit = words.length ? fits(words) : null;
        var matching = new Set();
        function sum(entries, filterOne, foldOf) {
            return entries.reduce(function (count, entry) {
                var hits = filterOne(entry, fit);
                if (hits > 0) {
                    matching.add(entry[foldOf]);
                }
                return count + hits;
            }, 0);
        }
        var stocks = sum(index.lists, filterList, 'list');
        var others = sum(index.rows, filterRow, 'fold');
        if (fit || filtered) {
            fold(fit ? matching : null);
        }
        filtered = Boolean(fit);
        found.textContent = fit ? stocks.toLocaleString('en') + (stocks === 1 ? ' stock' : ' stocks')
            + ', ' + others.toLocaleString('en') + ' options and windows' : '';
    }

    filter.addEventListener('input', runFilter);
    filter.parentNode.hidden = false;
    // Made before the first key is typed.
    (window.requestIdleCallback || setTimeout)(buildIndex);

    // --- windows and their rows ---

    function partner(id) {
        return id.indexOf('-row-') >= 0 ? id.replace('-row-', '-window-') : id;
    }

    all('.layout').forEach(function (layout) {
        var raised = layout.querySelector('use.raised');
        var lit = null;

        function raise(target) {
            var link = target.closest('a.window');
            var row = link ? document.getElementById(link.getAttribute('href').slice(1))
                : target.closest('.windows tbody tr');
            if (lit) {
                lit.classList.remove('lit');
            }
            lit = row;
            if (row) {
                row.classList.add('lit');
                var drawn = document.getElementById(partner(row.id));
                raised.setAttribute('href', drawn ? '#' + drawn.id : '#');
            } else {
                raised.removeAttribute('href');
            }
        }

        layout.addEventListener('pointerover', function (event) { raise(event.target); });
        layout.addEventListener('focusin', function (event) { raise(event.target); });
        layout.addEventListener('pointerleave', function () { raise(layout); });
    });

    // --- a switch a screen ---

    all('.screens').forEach(function (switches) {
        var picture = switches.parentNode.querySelector('.picture');
        var rows = all('.windows tbody tr', switches.parentNode);

        function choose(button) {
            all('button', switches).forEach(function (each) {
                each.setAttribute('aria-pressed', String(each === button));
            });
            var box = button.dataset.box.split(' ');
            switches.parentNode.classList.toggle('zoomed', button.dataset.screen !== '');
            picture.setAttribute('viewBox', button.dataset.box);
            picture.setAttribute('height', picture.getAttribute('width') * box[3] / box[2]);
            rows.forEach(function (row) {
                var other = button.dataset.screen !== '' ? row.dataset.screen !== button.dataset.screen
                    : false;
                row.classList.toggle('elsewhere', other);
            });
        }

        switches.hidden = false;
        switches.addEventListener('click', function (event) {
            if (event.target.tagName === 'BUTTON') {
                choose(event.target);
            }
        });
    });
}());
