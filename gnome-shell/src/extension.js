// Quillon's GNOME Shell extension, for GNOME Shell 45 and later.
import Clutter from 'gi://Clutter';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import St from 'gi://St';

import { Extension } from 'resource:///org/gnome/shell/extensions/extension.js';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import * as PanelMenu from 'resource:///org/gnome/shell/ui/panelMenu.js';
import * as PopupMenu from 'resource:///org/gnome/shell/ui/popupMenu.js';

import { QuillonButton } from './quillon.js';

export default class QuillonExtension extends Extension {
    enable() {
        this._button = new QuillonButton(
            { Clutter, Gio, GLib, St, Main, PanelMenu, PopupMenu }, this.path);
    }

    disable() {
        this._button?.destroy();
        this._button = null;
    }
}
