// Unit tests of the extension's own logic, under gjs: the shared module as GNOME Shell 45 and
// later load it, and as build.sh turns it into a script for GNOME Shell 43 and 44.
//
//   gjs -m tests/quillon_test.js LEGACY_FOLDER
//
// LEGACY_FOLDER holds the legacy build (build.sh LEGACY_FOLDER legacy). Exits 1 on a failure.
import GLib from 'gi://GLib';
import System from 'system';

import * as modern from '../src/quillon.js';

let failures = 0;

/**
 * Notes a failure when the two values differ (compared as JSON).
 *
 * @param {string} what the case
 * @param {*} actual what came out
 * @param {*} expected what should have
 */
function expectEqual(what, actual, expected) {
    const a = JSON.stringify(actual), e = JSON.stringify(expected);
    if (a === e)
        return;
    failures++;
    printerr(`FAIL ${what}: ${a}, expected ${e}`);
}

/**
 * The checks, for one variant of the module.
 *
 * @param {string} variant its name
 * @param {object} q the module
 */
function checkModule(variant, q) {
    // The panel goes under the bar, centred on the button: the button's columns, the bar's rows.
    expectEqual(`${variant}: anchor`, q.panelAnchor([1010.4, 0, 96.6, 32], [0, 0, 1280, 32.4]),
        [1010, 0, 97, 32]);
    expectEqual(`${variant}: anchor below a bar lower down`,
        q.panelAnchor([500, 40, 80, 30], [0, 36, 1280, 38]), [500, 36, 80, 38]);

    expectEqual(`${variant}: inside`, q.contains([10, 20, 30, 40], 10, 20), true);
    expectEqual(`${variant}: last pixel`, q.contains([10, 20, 30, 40], 39, 59), true);
    expectEqual(`${variant}: right edge`, q.contains([10, 20, 30, 40], 40, 30), false);
    expectEqual(`${variant}: above`, q.contains([10, 20, 30, 40], 15, 19), false);

    expectEqual(`${variant}: menu`, q.menuEntries(['Claude  42%', 'Codex  17%']).map(e => e.label),
        ['Claude  42%', 'Codex  17%', 'Open Quillon', 'Refresh Usage', null, 'Quit']);
    expectEqual(`${variant}: only commands act`,
        q.menuEntries(['Claude  42%']).map(e => e.command), [false, true, true, false, true]);
    expectEqual(`${variant}: menu without figures`, q.menuEntries([]).length, 4);

    const proxy = {
        get_cached_property: name => ({
            Title: new GLib.Variant('s', ' C:42% X:17%'),
            MenuRows: new GLib.Variant('as', ['Claude  42%']),
            PanelVisible: new GLib.Variant('b', true),
        })[name] ?? null,
    };
    expectEqual(`${variant}: title`, q.cachedValue(proxy, 'Title', ''), ' C:42% X:17%');
    expectEqual(`${variant}: rows`, q.cachedValue(proxy, 'MenuRows', []), ['Claude  42%']);
    expectEqual(`${variant}: visible`, q.cachedValue(proxy, 'PanelVisible', false), true);
    expectEqual(`${variant}: missing`, q.cachedValue(proxy, 'Other', 'none'), 'none');
    expectEqual(`${variant}: no proxy`, q.cachedValue(null, 'Title', ''), '');

    expectEqual(`${variant}: names`, [q.BUS_NAME, q.OBJECT_PATH, q.INTERFACE, q.SHELL_BUTTON_NAME],
        ['org.quillon.Quillon', '/org/quillon/Quillon', 'org.quillon.Quillon1',
            'org.quillon.Quillon.ShellButton']);
    expectEqual(`${variant}: the button's class`, typeof q.QuillonButton, 'function');
}

checkModule('modern', modern);

const legacyFolder = ARGV[0];
if (legacyFolder) {
    imports.searchPath.unshift(legacyFolder);
    checkModule('legacy', imports.quillon);
} else {
    failures++;
    printerr('FAIL: no legacy folder given');
}

if (failures > 0)
    System.exit(1);
print('all extension checks passed');
