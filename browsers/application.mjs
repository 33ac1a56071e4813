// The applications at the other end: Blender, the stand-in, or a script of
// exact bytes.

import { spawn } from "node:child_process";
import net from "node:net";
import path from "node:path";
import { fileURLToPath } from "node:url";

import { ended } from "./wait.mjs";

export const BLENDER = "/usr/bin/blender";

const PORT_SCRIPT = fileURLToPath(
    new URL("../examples/blender/valdrin_port.py", import.meta.url));

// Answers every request by `answer(request)`: a Buffer without the NUL, which
// also gets one, or null for silence.
export async function scriptedApplication(answer) {
    const sockets = new Set();
    const server = net.createServer((socket) => {
        const chunks = [];
        sockets.add(socket);
        socket.on("close", () => sockets.delete(socket));
        socket.on("error", () => {});
        socket.on("data", (chunk) => {
            chunks.push(chunk);
            if (chunk.at(-1) !== 0)
                return;
            const request = Buffer.concat(chunks).subarray(0, -1);
            const reply = answer(request);
            if (reply !== null)
                socket.end(Buffer.concat([reply, Buffer.of(0)]));
        });
    });
    await listen(server);
    return {
        port: server.address().port,
        close() {
            for (const socket of sockets)
                socket.destroy();
            server.close();
        },
    };
}

// The connection maps ports below 10000 elsewhere, and 65535 too.
async function listen(server) {
    for (;;) {
        await new Promise((resolve, reject) => {
            server.once("error", reject);
            server.listen(0, "127.0.0.1", resolve);
        });
        const { port } = server.address();
        if (port >= 10000 && port <= 65534)
            return;
        await new Promise((resolve) => server.close(resolve));
    }
}

// The stand-in that was built in `bin`. `log` gets what it has to say.
export function standin(bin, log = []) {
    return start(path.join(bin, "valdrin-standin"), ["--port", "0"], log);
}

// Blender without a window, with the port of the example.
export function blender(log = []) {
    return start(BLENDER, [
        "--background", "--factory-startup", "--python", PORT_SCRIPT,
        "--", "--port", "0",
    ], log);
}

async function start(program, words, log) {
    const child = spawn(program, words, { stdio: ["ignore", "pipe", "pipe"] });
    child.stderr.setEncoding("utf8").on("data", (text) => log.push(text));
    const port = await new Promise((resolve, reject) => {
        let printed = "";
        child.stdout.setEncoding("utf8").on("data", (text) => {
            printed += text;
            const line = /^listening on 127\.0\.0\.1:(\d+)$/m.exec(printed);
            if (line)
                resolve(Number(line[1]));
        });
        child.once("error", reject);
        child.once("exit", () => reject(new Error(`${program} has ended`)));
    });
    return {
        log,
        port,
        async close() {
            child.kill();
            await ended(child);
        },
    };
}
