// The options page. It asks and shows; the background keeps the list.

import { patternOf, portsOf, siteOf } from "./decide.mjs";
import { describeCheck, describeSite } from "./words.mjs";

const api = globalThis.browser ?? globalThis.chrome;
const $ = (id) => document.getElementById(id);

const NO_PORTS = "Application ports are numbers from 1 to 65535.";

function send(message) {
    return api.runtime.sendMessage(message);
}

function setBad(field, isBad) {
    field.setAttribute("aria-invalid", String(isBad));
}

// ------------------------------------------------------------ allowed sites

function makeRow(origin) {
    const row = $("site").content.firstElementChild.cloneNode(true);
    const find = (selector) => row.querySelector(selector);
    row.dataset.origin = origin;
    find(".address").textContent = origin;
    find("form").setAttribute("aria-label", origin);
    for (const [name, verb] of [
        [".save", "Save the ports of"],
        [".disconnect", "Disconnect"],
        [".remove", "Remove"],
    ])
        find(name).setAttribute("aria-label", `${verb} ${origin}`);
    find("form").addEventListener("submit", async (event) => {
        event.preventDefault();
        const ports = portsOf(find("input").value);
        setBad(find("input"), !ports);
        if (!ports) {
            $("sites-message").textContent = NO_PORTS;
            find("input").focus();
            return;
        }
        const isAllowed = await send({ type: "allow", origin, ports });
        if (isAllowed)
            find("input").value = ports.join(", ");
        $("sites-message").textContent = isAllowed
            ? `The ports of ${origin} are saved.`
            : "The browser gives no permission for this site any more.";
    });
    find(".disconnect").addEventListener("click", async () => {
        await send({ type: "disconnect", origin });
        $("sites-message").textContent =
            `${origin} is disconnected. Its next call connects anew.`;
        find(".remove").focus();
    });
    find(".remove").addEventListener("click", async () => {
        await send({ type: "remove", origin });
        $("sites-message").textContent = `${origin} is no longer allowed.`;
        $("address").focus();
    });
    return row;
}

// Rows stay where they are, so that nobody loses a focus or a half-typed
// list of ports.
function showSites(sites) {
    const rows = new Map(
        [...$("sites").children].map((row) => [row.dataset.origin, row]));
    $("no-sites").hidden = sites.length > 0;
    for (const site of sites) {
        let row = rows.get(site.origin);
        if (!row) {
            row = makeRow(site.origin);
            row.querySelector("input").value = site.ports.join(", ");
            $("sites").append(row);
        }
        rows.delete(site.origin);
        row.querySelector(".state").textContent =
            describeSite(site, Date.now());
        row.querySelector(".disconnect").disabled = !site.isConnected;
    }
    for (const row of rows.values())
        row.remove();
}

function watch() {
    let sites = [];
    const port = api.runtime.connect({ name: "state" });
    port.onMessage.addListener((message) => {
        sites = message;
        showSites(sites);
    });
    const timer = setInterval(() => showSites(sites), 1000);
    port.onDisconnect.addListener(() => {
        clearInterval(timer);
        setTimeout(watch, 1000);
    });
}

// ------------------------------------------------------------- allow a site

// The question has to be asked at once: the browser ties it to the click.
function onAdd(event) {
    event.preventDefault();
    const message = $("add-message");
    const origin = siteOf($("address").value);
    const ports = portsOf($("ports").value);
    setBad($("address"), !origin);
    setBad($("ports"), !ports);
    if (!origin) {
        message.textContent = "Only https addresses, and http ones of " +
            "localhost and 127.0.0.1, can be allowed.";
        $("address").focus();
        return;
    }
    if (!ports) {
        message.textContent = NO_PORTS;
        $("ports").focus();
        return;
    }
    message.textContent = "";
    api.permissions.request({ origins: [patternOf(origin)] })
        .then((isGranted) => isGranted &&
            send({ type: "allow", origin, ports }))
        .then((isAllowed) => {
            if (!isAllowed) {
                message.textContent = "The browser did not give permission.";
                return;
            }
            $("address").value = "";
            $("sites-message").textContent = `${origin} is allowed. Reload ` +
                "its open pages to connect them.";
        })
        .catch((error) => {
            message.textContent = error.message;
        });
}

// ------------------------------------------------------ test the connection

function showResult(lines) {
    $("result").replaceChildren(...lines.map(({ isGood, text }) => {
        const item = document.createElement("li");
        const mark = document.createElement("span");
        const words = document.createElement("span");
        mark.className = isGood ? "mark good" : "mark bad";
        mark.textContent = isGood ? "✓" : "✗";
        mark.setAttribute("aria-hidden", "true");
        words.textContent = text;
        item.append(mark, words);
        return item;
    }));
}

async function onTest(event) {
    event.preventDefault();
    const [port, ...more] = portsOf($("test-port").value) ?? [];
    const isBad = port === undefined || more.length > 0;
    setBad($("test-port"), isBad);
    if (isBad) {
        showResult([
            { isGood: false, text: "A port is a number from 1 to 65535." },
        ]);
        $("test-port").focus();
        return;
    }
    const button = $("test").querySelector("button");
    button.disabled = true;
    showResult([]);
    const answer = await send({ type: "check", port })
        .catch((error) => ({ error }));
    showResult(describeCheck(answer, port));
    button.disabled = false;
}

$("add").addEventListener("submit", onAdd);
$("test").addEventListener("submit", onTest);
watch();
