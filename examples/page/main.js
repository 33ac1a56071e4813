// Puts the page together. "#port=40000" at the end of its address names
// another port of the application.

import {
    askForScene, isFailure, isNoApplication, lastLine, prepare,
} from "./application.js";
import { Console } from "./console.js";
import { chosenName, showPicture, showTable } from "./picture.js";

const $ = (id) => document.getElementById(id);

function say(text, isGood) {
    $("status").textContent = text;
    $("status").className = isGood ? "good" : "bad";
}

function sayError(error) {
    say(error.code ? `${error.code}: ${error.message}` : error.message, false);
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
                sayError(error);
        }
    };
}

// One call at a time, and every answer is shown; of the calls that come
// meanwhile only the last is made. This way a picture follows a slider that is
// faster than the application.
function oneAtATime(work) {
    let wanted = null;
    let running = null;
    async function runAll() {
        while (wanted) {
            const args = wanted;
            wanted = null;
            await work(...args).catch(sayError);
        }
        running = null;
    }
    return (...args) => {
        wanted = args;
        running ??= runAll();
        return running;
    };
}

// Shows the scene and lets the slider move the chosen object. Gives the
// function that shows it again.
function onScene(valdrin) {
    let objects = [];
    function showSlider() {
        const name = chosenName($("objects"));
        const object = objects.find((each) => each.name === name);
        $("x").disabled = !object;
        if (!object)
            return;
        $("moved").textContent = `Move ${name}`;
        $("x").value = object.place[0];
        $("x-value").textContent = object.place[0].toFixed(1);
    }
    const show = oneAtATime(async (move) => {
        const start = performance.now();
        const scene = await askForScene(valdrin, move);
        const time = performance.now() - start;
        objects = scene.objects;
        showTable($("objects"), objects);
        await showPicture({ image: $("image"), svg: $("drawing") }, scene);
        if (!move)
            showSlider();
        $("times").dataset.application = scene.milliseconds;
        $("times").dataset.call = time;
        $("times").textContent = `Answered in ${time.toFixed(0)} ms, of ` +
            `which the application took ${scene.milliseconds.toFixed(1)} ms.`;
    });
    $("objects").addEventListener("change", showSlider);
    $("x").addEventListener("input", () => {
        const x = $("x").valueAsNumber;
        $("x-value").textContent = x.toFixed(1);
        show({ name: chosenName($("objects")), x });
    });
    return () => show(null);
}

function onExpression(valdrin) {
    const show = latestOnly(async (signal) => {
        const expression = $("expression").value.trim();
        const reply = expression === ""
            ? ""
            : await valdrin.RunPythonExpression(expression, { signal });
        $("value").textContent = isFailure(reply) ? lastLine(reply) : reply;
        $("value").classList.toggle("bad", isFailure(reply));
    });
    $("expression").addEventListener("input", show);
    return show;
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
    if (isNoApplication(await valdrin.RunPythonExpression("0"))) {
        say(`No application listens on port ${port}.`, false);
        return;
    }
    say(`${await prepare(valdrin)}, on port ${port}`, true);
    const showScene = onScene(valdrin);
    const showValue = onExpression(valdrin);
    new Console(valdrin, {
        log: $("log"), form: $("form"), text: $("text"), kind: $("kind"),
    }, showScene);
    await Promise.all([showScene(), showValue()]);
    document.documentElement.dataset.ready = "";
}

start().catch(sayError);
