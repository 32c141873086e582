// The environment of every script: wrappers of the server's objects, typed values, errors, output and waiting. `native`
// is ScriptBridge. A wrapper knows all its names; any other name is an error, because silently ignoring it would cost
// hours.
(function (native, global) {
    "use strict";

    const handleKey = Symbol("handle");
    const eventNames = ["OnChangeState", "OnChangeItem"];

    class ServerError extends Error {}
    class ValueError extends Error {}
    ServerError.prototype.name = "ServerError";
    ValueError.prototype.name = "ValueError";
    const errorTypes = { ServerError, ValueError, Error, TypeError };

    // The script is given its own line, not one of this file.
    function makeError(name, message) {
        const error = new errorTypes[name](message);
        const frame = error.stack.split("\n").find(text => text.indexOf("@file:script:") >= 0);
        if (frame) error.lineNumber = Number(frame.split(":").pop());
        error.fileName = "";
        return error;
    }

    const membersOf = {};
    for (const kind of ["Engine", "Controller", "Item", "History", "ResultSet", "TypedValue", "Object"]) {
        membersOf[kind] = new Map();
        for (const member of native.Members(kind)) membersOf[kind].set(member.name, member);
    }

    function isEvent(kind, name) {
        return kind === "Controller" && eventNames.includes(name);
    }

    function noSuchMember(kind, name) {
        const names = Array.from(membersOf[kind].keys()).concat(kind === "Controller" ? eventNames : []);
        const meant = names.find(known => known.toLowerCase() === String(name).toLowerCase());
        const hint = meant ? `; it is spelled "${meant}"` : "";
        return makeError("TypeError", `${kind} has no member "${String(name)}"` + hint);
    }

    function describe({ kind, handle }) {
        if (kind !== "TypedValue") return `[${kind}]`;
        try {
            return native.Read(handle, "text", [], false);
        } catch (error) {
            return `[${native.Read(handle, "type", [], false)}]`;
        }
    }

    // Not a generator: in strict code this engine loses the generator that a function returns at its end.
    function rowsOf(handle) {
        let row = 0;
        return {
            next: () => native.HasRow(handle, row) ? { value: native.Read(handle, "Row", [row++], false), done: false }
                                                   : { value: undefined, done: true },
            [Symbol.iterator]() { return this; },
        };
    }

    const commonMembers = {
        toString: target => () => describe(target),
        toJSON: target => () => describe(target),
        valueOf: (target, wrapper) => () =>
            target.kind === "TypedValue" ? native.Read(target.handle, "value", [], false) : wrapper,
        constructor: () => Object,
        then: () => undefined, // so that a promise may hold a wrapper
    };

    const traps = {
        get(target, name, wrapper) {
            const { kind, handle } = target;
            if (name === handleKey) return handle;
            if (name === Symbol.iterator && kind === "ResultSet") return () => rowsOf(handle);
            if (typeof name === "symbol") return undefined;
            const member = membersOf[kind].get(name);
            if (member) {
                if (member.isProperty) return native.Read(handle, name, [], false);
                return (...args) => native.Read(handle, name, args, false);
            }
            if (isEvent(kind, name)) return native.Handler(handle, name);
            if (Object.prototype.hasOwnProperty.call(commonMembers, name)) return commonMembers[name](target, wrapper);
            throw noSuchMember(kind, name);
        },
        set({ kind, handle }, name, value) {
            const member = membersOf[kind].get(name);
            if (isEvent(kind, name)) {
                if (value !== undefined && value !== null && typeof value !== "function")
                    throw makeError("TypeError", `${name} takes a function, or null`);
                native.SetHandler(handle, name, value);
            } else if (!member) {
                throw noSuchMember(kind, name);
            } else if (!member.isWritable) {
                throw makeError("TypeError", `${kind}.${name} ${member.isProperty ? "is read only" : "is a function"}`);
            } else {
                native.Write(handle, name, value);
            }
            return true;
        },
        has({ kind }, name) {
            return membersOf[kind].has(name) || isEvent(kind, name);
        },
        deleteProperty({ kind }, name) {
            throw makeError("TypeError", `${kind}.${String(name)} cannot be deleted`);
        },
        defineProperty({ kind }, name) {
            throw makeError("TypeError", `${kind}.${String(name)} cannot be defined`);
        },
    };

    function wrap(kind, handle) {
        const hidden = value => ({ value, configurable: true });
        return new Proxy(Object.create(null, { kind: hidden(kind), handle: hidden(handle) }), traps);
    }

    function unwrap(value) {
        return value[handleKey];
    }

    // Undefined when the handler succeeded, because it may throw any value.
    function invoke(handler, argument) {
        try {
            handler(argument);
        } catch (error) {
            return { error };
        }
        return undefined;
    }

    function dateText(date) {
        if (isNaN(date)) return "Invalid Date";
        const two = number => String(number).padStart(2, "0");
        const year = String(date.getFullYear()).padStart(4, "0");
        const day = [year, two(date.getMonth() + 1), two(date.getDate())].join("-");
        const time = [date.getHours(), date.getMinutes(), date.getSeconds()].map(two).join(":");
        const milliseconds = date.getMilliseconds();
        return `${day} ${time}` + (milliseconds ? "." + String(milliseconds).padStart(3, "0") : "");
    }

    // Dates convert themselves to texts of another time zone before a replacer sees them.
    function jsonOf(value) {
        const own = Object.getOwnPropertyDescriptor(Date.prototype, "toJSON");
        if (!own || !own.configurable) return JSON.stringify(value);
        Object.defineProperty(Date.prototype, "toJSON", { value() { return dateText(this); }, configurable: true });
        try {
            return JSON.stringify(value);
        } finally {
            Object.defineProperty(Date.prototype, "toJSON", own);
        }
    }

    function textOf(value) {
        if (typeof value !== "object" || value === null) return String(value);
        if (value instanceof Date) return dateText(value);
        const isPlain = Array.isArray(value) || Object.getPrototypeOf(value) === Object.prototype;
        return isPlain ? jsonOf(value) : String(value);
    }

    const printTo = isError => (...values) => native.Print(values.map(textOf).join(" "), isError);
    const print = printTo(false);
    const printError = printTo(true);

    function typed(first, ...rest) {
        if (rest.length === 0) return typeof first === "string" ? native.FromText(first) : native.Exact(first);
        const handle = first !== null && typeof first === "object" ? first[handleKey] : undefined;
        if (handle === undefined)
            throw makeError("TypeError", "typed takes an object of the server and a member's name");
        const [name, ...args] = rest;
        if (!(name in first) || eventNames.includes(name))
            throw makeError("TypeError", `"${String(name)}" has no typed value`);
        return native.Read(handle, name, args, true);
    }

    // Otherwise arrays nested too deeply would use up the process's own stack, which no script could catch.
    Object.defineProperty(Array.prototype, "toString", {
        value: function toString() { return this.join(); }, writable: true, configurable: true,
    });

    for (const name of native.TypeNames()) global[name] = value => native.Make(name, value);
    Object.assign(global, {
        globalThis: global, ServerError, ValueError, typed, print,
        ArrayOf: (name, elements, lowerBound) => native.MakeArrayOf(String(name), Array.from(elements), lowerBound),
        console: { log: print, info: print, debug: print, warn: printError, error: printError },
        sleep: milliseconds => native.Sleep(milliseconds),
        waitForEvents: milliseconds => native.WaitForEvents(milliseconds),
        exit: (code = 0) => native.Exit(code),
    });

    return { wrap, unwrap, invoke, makeError };
})
