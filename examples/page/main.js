// Puts the page together. "#port=40000" at the end of its address names
// another port of the application.

import {
    SCENE, askForSpheres, isFailure, isNoApplication,
} from "./application.js";
import { Console } from "./console.js";
import { showPicture, showTable } from "./picture.js";

const $ = (id) => document.getElementById(id);

function say(text, isGood) {
    $("status").textContent = text;
    $("status").className = isGood ? "good" : "bad";
}

// Every call takes the place of the one before: its answer is not wanted any
// more, and it is not sent at all when it has not left yet.
function latestOnly(work) {
    let controller = new AbortController();
    return async (...args) => {
        controller.abort();
        controller = new AbortController();
        const { signal } = controller;
        try {
            await work(signal, ...args);
        } catch (error) {
            if (!signal.aborted)
                say(error.message, false);
        }
    };
}

function onAngle(valdrin) {
    const show = latestOnly(async (signal) => {
        const degrees = $("angle").value;
        $("degrees").textContent = `${degrees}°`;
        const spheres = await askForSpheres(valdrin, degrees, signal);
        showPicture($("picture"), spheres);
        showTable($("spheres"), spheres);
    });
    $("angle").addEventListener("input", show);
    return show();
}

function onExpression(valdrin) {
    const show = latestOnly(async (signal) => {
        const expression = $("expression").value.trim();
        const reply = expression === ""
            ? ""
            : await valdrin.RunPythonExpression(expression, { signal });
        $("value").textContent = isFailure(reply)
            ? reply.trimEnd().split("\n").at(-1)
            : reply;
        $("value").classList.toggle("bad", isFailure(reply));
    });
    $("expression").addEventListener("input", show);
    return show();
}

async function start() {
    if (typeof ValdrinConnection !== "function") {
        say("This page is not connected. Allow it with the toolbar button of " +
            "Valdrin Connection, then reload it.", false);
        return;
    }
    const valdrin = new ValdrinConnection();
    const port = Number(/^#port=(\d+)$/.exec(location.hash)?.[1] ?? 32153);
    await valdrin.SetSocketPortNum(port);
    const greeting = await valdrin.Run("echo Connected");
    if (isNoApplication(greeting)) {
        say(`No application listens on port ${port}.`, false);
        return;
    }
    say(`${greeting.trim()}; the application listens on port ${port}`, true);
    new Console(valdrin, {
        log: $("log"), form: $("form"), text: $("text"), kind: $("kind"),
    });
    await valdrin.RunPythonStatements(SCENE);
    await Promise.all([onAngle(valdrin), onExpression(valdrin)]);
    document.documentElement.dataset.ready = "";
}

start().catch((error) => say(`${error.code}: ${error.message}`, false));
