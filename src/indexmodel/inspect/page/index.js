(function () {
    'use strict';

    var filter = document.getElementById('filter');
    var found = document.getElementById('found');
    var table = document.querySelector('.users');

    function all(selector, within) {
        return Array.prototype.slice.call(within.querySelectorAll(selector));
    }

    // --- sorting ---

    function compare(left, right) {
        var numbers = Number(left) - Number(right);
        return isNaN(numbers) ? left.localeCompare(right) : numbers;
    }

    function sort(table, column, order) {
        var body = table.tBodies[0];
        var rows = all('tr', body).map(function (row) {
            return { row: row, key: row.cells[column].textContent };
        });
        rows.sort(function (left, right) { return order * compare(left.key, right.key); });
        var sorted = document.createDocumentFragment();
        rows.forEach(function (each) { sorted.appendChild(each.row); });
        body.appendChild(sorted);
    }

    // Numbers begin with the most, names with the first.
    function firstOrder(table, column) {
        var rows = table.tBodies[0].rows;
        return rows.length && !isNaN(Number(rows[0].cells[column].textContent)) ? -1 : 1;
    }

    function makeSortable(table) {
        var headings = all('thead th', table);
        headings.forEach(function (heading, column) {
            var button = document.createElement('button');
            button.type = 'button';
            button.textContent = heading.textContent;
            heading.textContent = '';
            heading.appendChild(button);
            button.addEventListener('click', function () {
                var before = heading.getAttribute('aria-sort');
                var order = before ? (before === 'ascending' ? -1 : 1) : firstOrder(table, column);
                headings.forEach(function (each) { each.removeAttribute('aria-sort'); });
                heading.setAttribute('aria-sort', order > 0 ? 'ascending' : 'descending');
                sort(table, column, order);
            });
        });
    }

    all('table', document).forEach(makeSortable);

    // --- the filter ---

    var rows = table ? all('tbody tr', table).map(function (row) {
        return { row: row, text: row.textContent.toLowerCase() };
    }) : [];

    filter.parentNode.hidden = rows.length === 0;
    filter.addEventListener('input', function () {
        var words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
        var count = 0;
        rows.forEach(function (each) {
            var fits = words.every(function (word) { return each.text.indexOf(word) >= 0; });
            each.row.hidden = !fits;
            count += fits ? 1 : 0;
        });
        found.textContent = words.length ? count.toLocaleString('en') + (count === 1 ? ' user' : ' users')
                                         : '';
    });
}());
