// Quillon's button in GNOME Shell's top bar, fed by the running Quillon over the session bus.
//
// This file is shared by both entry points: extension.js for GNOME Shell 45 and later (ES
// modules) and the one for GNOME Shell 43 and 44 (the shell's legacy imports), which build.sh
// derives from it. So it imports nothing itself: the entry point hands in the shell's modules.

export const BUS_NAME = 'org.quillon.Quillon';
export const OBJECT_PATH = '/org/quillon/Quillon';
export const INTERFACE = 'org.quillon.Quillon1';
// Held while the button is in the bar, so that Quillon keeps its own tray item out of sight.
export const SHELL_BUTTON_NAME = 'org.quillon.Quillon.ShellButton';

export const MENU_COMMANDS = ['Open Quillon', 'Refresh Usage', null, 'Quit'];

/**
 * The rectangle that Quillon places its panel under: the button's horizontal extent and the
 * bar's vertical one, so that the panel's top edge goes 8 px under the bar itself.
 *
 * @param {number[]} button the button's x, y, width and height on the stage
 * @param {number[]} bar the top bar's x, y, width and height on the stage
 * @returns {number[]} x, y, width and height, whole pixels
 */
export function panelAnchor(button, bar) {
    return [button[0], bar[1], button[2], bar[3]].map(Math.round);
}

/**
 * Whether a point lies on a rectangle (its right and bottom edges excluded).
 *
 * @param {number[]} box x, y, width and height
 * @param {number} x the point's x
 * @param {number} y the point's y
 * @returns {boolean} whether the point is inside
 */
export function contains(box, x, y) {
    return x >= box[0] && x < box[0] + box[2] && y >= box[1] && y < box[1] + box[3];
}

/**
 * The menu, top to bottom: a line of figures per provider, then the commands; null stands for
 * the separator.
 *
 * @param {string[]} rows the provider rows that Quillon offers
 * @returns {{label: ?string, command: boolean}[]} the menu's entries
 */
export function menuEntries(rows) {
    return [
        ...rows.map(label => ({ label, command: false })),
        ...MENU_COMMANDS.map(label => ({ label, command: label !== null })),
    ];
}

/**
 * A cached property of the proxy as a plain value, or the fallback when Quillon has not sent
 * it (or is not running).
 *
 * @param {object} proxy a Gio.DBusProxy
 * @param {string} name the property
 * @param {*} fallback the value when it is missing
 * @returns {*} the value
 */
export function cachedValue(proxy, name, fallback) {
    const value = proxy?.get_cached_property(name);
    return value ? value.deepUnpack() : fallback;
}

export class QuillonButton {
    /**
     * Puts the button in the bar. It shows while Quillon runs and follows its properties.
     *
     * @param {object} shell the shell's modules: Clutter, Gio, GLib, St, Main, PanelMenu and
     *   PopupMenu
     * @param {string} extensionPath the extension's folder, which holds its icon
     */
    constructor(shell, extensionPath) {
        this._shell = shell;
        const { Gio, St, Main, PanelMenu } = shell;
        this._cancellable = new Gio.Cancellable();
        this._handlers = [];

        this._button = new PanelMenu.Button(0.5, 'Quillon', false);
        const box = new St.BoxLayout({ style_class: 'panel-status-indicators-box' });
        this._icon = new St.Icon({
            gicon: Gio.icon_new_for_string(`${extensionPath}/icons/quillon-symbolic.svg`),
            style_class: 'system-status-icon',
        });
        this._label = new St.Label({
            text: '',
            y_expand: true,
            y_align: shell.Clutter.ActorAlign.CENTER,
        });
        box.add_child(this._icon);
        box.add_child(this._label);
        this._button.add_child(box);
        this._button.visible = false;
        this._connect(this._button, 'event', (_actor, event) => this._onButtonEvent(event));
        this._connect(this._button.menu, 'open-state-changed', (_menu, open) => {
            if (open && this._panelVisible())
                this._call('HidePanel');
        });
        Main.panel.addToStatusArea('quillon', this._button);

        this._nameId = Gio.bus_own_name_on_connection(Gio.DBus.session, SHELL_BUTTON_NAME,
            Gio.BusNameOwnerFlags.NONE, null, null);
        this._connect(global.stage, 'captured-event', (_actor, event) => this._onStageEvent(event));
        this._connect(Main.overview, 'showing', () => {
            if (this._panelVisible())
                this._call('HidePanel');
        });

        Gio.DBusProxy.new(Gio.DBus.session, Gio.DBusProxyFlags.DO_NOT_AUTO_START, null,
            BUS_NAME, OBJECT_PATH, INTERFACE, this._cancellable, (_source, result) => {
                let proxy;
                try {
                    proxy = Gio.DBusProxy.new_finish(result);
                } catch (e) {
                    // Cancelled: the button went away before the bus answered.
                    return;
                }
                if (this._cancellable.is_cancelled())
                    return;
                this._proxy = proxy;
                this._connect(this._proxy, 'g-properties-changed', () => this._sync());
                this._connect(this._proxy, 'notify::g-name-owner', () => this._sync());
                // ShowPanel() from anywhere else (a shortcut, a script): only the button knows
                // where the panel belongs.
                this._connect(this._proxy, 'g-signal', (_proxy, _sender, signal) => {
                    if (signal === 'PanelWanted')
                        this._call('ShowPanelAt', '(iiii)', this._anchor());
                });
                this._sync();
            });
    }

    /** Takes the button out of the bar and lets go of everything it holds. */
    destroy() {
        this._cancellable.cancel();
        for (const [object, id] of this._handlers)
            object.disconnect(id);
        this._handlers = [];
        this._shell.Gio.bus_unown_name(this._nameId);
        this._button.destroy();
        this._button = null;
        this._proxy = null;
    }

    /**
     * Connects a handler and remembers it, so that destroy() takes it away again.
     *
     * @param {object} object the GObject
     * @param {string} signal the signal's name
     * @param {Function} handler the handler
     */
    _connect(object, signal, handler) {
        this._handlers.push([object, object.connect(signal, handler)]);
    }

    _running() {
        return Boolean(this._proxy?.g_name_owner);
    }

    _panelVisible() {
        return this._running() && cachedValue(this._proxy, 'PanelVisible', false);
    }

    /** Shows what Quillon offers now, or hides the button while Quillon is not running. */
    _sync() {
        const running = this._running();
        this._button.visible = running;
        if (!running) {
            this._button.menu.close();
            return;
        }
        const title = cachedValue(this._proxy, 'Title', '');
        this._label.text = title;
        this._label.visible = title !== '';
        this._fillMenu(cachedValue(this._proxy, 'MenuRows', []));
    }

    /**
     * Fills the menu afresh, unless it already reads the same.
     *
     * @param {string[]} rows the provider rows
     */
    _fillMenu(rows) {
        const key = JSON.stringify(rows);
        if (key === this._menuKey)
            return;
        this._menuKey = key;
        const { PopupMenu } = this._shell;
        const menu = this._button.menu;
        menu.removeAll();
        for (const entry of menuEntries(rows)) {
            if (entry.label === null) {
                menu.addMenuItem(new PopupMenu.PopupSeparatorMenuItem());
                continue;
            }
            const item = new PopupMenu.PopupMenuItem(entry.label, { reactive: entry.command });
            if (entry.command)
                item.connect('activate', () => this._runCommand(entry.label));
            menu.addMenuItem(item);
        }
    }

    /**
     * Carries out one of the menu's commands.
     *
     * @param {string} label the command's row
     */
    _runCommand(label) {
        if (label === 'Open Quillon')
            this._call('ShowPanelAt', '(iiii)', this._anchor());
        else if (label === 'Refresh Usage')
            this._call('Refresh');
        else if (label === 'Quit')
            this._call('Quit');
    }

    /** @returns {number[]} where the panel goes, as Quillon's ShowPanelAt takes it */
    _anchor() {
        const { Main } = this._shell;
        return panelAnchor(
            [...this._button.get_transformed_position(), ...this._button.get_transformed_size()],
            [...Main.panel.get_transformed_position(), ...Main.panel.get_transformed_size()]);
    }

    /**
     * A left click (or a touch) on the button toggles the panel; anything else goes on to the
     * button, whose menu opens on a right click.
     *
     * @param {object} event the Clutter event
     * @returns {boolean} whether the event was used up
     */
    _onButtonEvent(event) {
        const { Clutter } = this._shell;
        const type = event.type();
        const primary = type === Clutter.EventType.TOUCH_BEGIN ||
            (type === Clutter.EventType.BUTTON_PRESS && event.get_button() === Clutter.BUTTON_PRIMARY);
        if (!primary || !this._running())
            return Clutter.EVENT_PROPAGATE;
        this._button.menu.close();
        this._call('TogglePanelAt', '(iiii)', this._anchor());
        return Clutter.EVENT_STOP;
    }

    /**
     * Every press and key the shell sees passes here first, and goes on unchanged: while the
     * panel is open, a press anywhere but on the button (which toggles it itself) tells Quillon
     * where it was, and Quillon closes the panel unless it was on the panel; Escape closes it.
     *
     * @param {object} event the Clutter event
     * @returns {boolean} always false: the event goes on
     */
    _onStageEvent(event) {
        const { Clutter } = this._shell;
        const type = event.type();
        if (!this._panelVisible())
            return Clutter.EVENT_PROPAGATE;
        if (type === Clutter.EventType.BUTTON_PRESS || type === Clutter.EventType.TOUCH_BEGIN) {
            const [x, y] = event.get_coords();
            const button = [...this._button.get_transformed_position(),
                ...this._button.get_transformed_size()];
            if (!contains(button, x, y))
                this._call('PressedAt', '(ii)', [Math.round(x), Math.round(y)]);
        } else if (type === Clutter.EventType.KEY_PRESS &&
                   event.get_key_symbol() === Clutter.KEY_Escape) {
            this._call('HidePanel');
        }
        return Clutter.EVENT_PROPAGATE;
    }

    /**
     * Calls one of Quillon's methods without waiting; a Quillon that went away meanwhile is no
     * error worth reporting.
     *
     * @param {string} method the method's name
     * @param {string} [signature] the arguments' signature
     * @param {Array} [args] the arguments
     */
    _call(method, signature, args) {
        if (!this._running())
            return;
        const { Gio, GLib } = this._shell;
        const parameters = signature ? new GLib.Variant(signature, args) : null;
        this._proxy.call(method, parameters, Gio.DBusCallFlags.NO_AUTO_START, -1,
            this._cancellable, (proxy, result) => {
                try {
                    proxy.call_finish(result);
                } catch (e) {
                    // Quillon quit meanwhile, or the button is gone.
                }
            });
    }
}
