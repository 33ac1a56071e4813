// A host that lies, or keeps a text: fake_host.mjs KIND ARGUMENTS...
// It reads one request after the other and does as its kind says.

import { writeSync } from "node:fs";

const kind = process.argv[2];
let kept = "";

function frame(text) {
    const head = Buffer.alloc(4);
    head.writeUInt32LE(Buffer.byteLength(text));
    return Buffer.concat([head, Buffer.from(text)]);
}

function send(bytes) {
    for (let sent = 0; sent < bytes.length;)
        sent += writeSync(1, bytes, sent);
}

const theKinds = {
    wrongId({ id }) {
        const part = "for somebody else";
        send(frame(JSON.stringify({ id: id + 1000, part, last: true })));
    },
    // Keeps a text, gives it back, or gives as many digits as are asked for.
    stash({ id, method, args }) {
        if (method === "StashString")
            kept = args[0];
        const text = method === "Digits"
            ? "0123456789".repeat(args[0] / 10)
            : kept;
        const parts = method === "StashString"
            ? [""]
            : text.match(/.{1,999900}/g);
        parts.forEach((part, index) => {
            const last = index === parts.length - 1 ? { last: true } : {};
            send(frame(JSON.stringify({ id, part, ...last })));
        });
    },
};

let bytes = Buffer.alloc(0);
process.stdin.on("data", (chunk) => {
    bytes = Buffer.concat([bytes, chunk]);
    while (bytes.length >= 4 && bytes.length >= 4 + bytes.readUInt32LE()) {
        const end = 4 + bytes.readUInt32LE();
        theKinds[kind](JSON.parse(bytes.subarray(4, end).toString()));
        bytes = bytes.subarray(end);
    }
});
process.stdin.on("end", () => process.exit(0));
