// The native host as a browser finds it, and its processes.

import { chmod, mkdir, readdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";

const NAME = "com.norvex.valdrinconnection";

// Makes `program` the host of a browser whose home is `home`.
export async function installHost(home, browser, program) {
    const folder = path.join(home, browser.manifestFolder);
    await mkdir(folder, { recursive: true });
    await writeFile(path.join(folder, `${NAME}.json`), JSON.stringify({
        name: NAME,
        description: "Valdrin Connection",
        path: program,
        type: "stdio",
        ...browser.manifestCallers,
    }));
}

// A program that runs `script` with `argument` and then what it is given.
export async function wrapScript(file, script, argument) {
    const words = [process.execPath, script, argument].map(
        (word) => `'${word.replaceAll("'", "'\\''")}'`);
    await writeFile(file, `#!/bin/sh\nexec ${words.join(" ")} "$@"\n`);
    await chmod(file, 0o755);
    return file;
}

// The processes of hosts that a browser with the home `home` has started:
// all whose arguments have the manifest or the extension in them.
export async function hostPids(home) {
    const found = [];
    for (const name of await readdir("/proc")) {
        if (!/^[0-9]+$/.test(name))
            continue;
        try {
            const words = await readFile(`/proc/${name}/cmdline`, "utf8");
            const setting = await readFile(`/proc/${name}/environ`, "utf8");
            if (setting.split("\0").includes(`HOME=${home}`) &&
                /\0(valdrin-connection@|chrome-extension:)/.test(words))
                found.push(Number(name));
        } catch {
            // It has ended meanwhile, or is somebody else's.
        }
    }
    return found;
}
