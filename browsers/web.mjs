// A web server: pages by path, each with its headers.

import { readFile } from "node:fs/promises";
import http from "node:http";
import path from "node:path";

const TYPES = {
    ".html": "text/html; charset=utf-8",
    ".css": "text/css; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
    ".py": "text/x-python; charset=utf-8",
};

// The files of `folder`, as any web server would serve them.
export function serveFolder(folder) {
    return serve(async (name) => {
        const file = name === "/" ? "index.html" : path.basename(name);
        try {
            const body = await readFile(path.join(folder, file));
            const type = TYPES[path.extname(file)];
            return { body, headers: { "Content-Type": type } };
        } catch {
            return null;
        }
    });
}

// `pages` maps a path to {body, headers}, or is a function that does.
export async function serve(pages) {
    const pageOf = typeof pages === "function"
        ? pages
        : (name) => Object.hasOwn(pages, name) ? pages[name] : null;
    const server = http.createServer(async (request, response) => {
        const name = new URL(request.url, "http://localhost").pathname;
        const page = await pageOf(name);
        const headers = { "Content-Type": "text/html; charset=utf-8" };
        response.writeHead(page ? 200 : 404, { ...headers, ...page?.headers });
        response.end(page?.body ?? "");
    });
    await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
    const { port } = server.address();
    return {
        origin: `http://127.0.0.1:${port}`,
        otherName: `http://localhost:${port}`,
        close() {
            server.closeAllConnections?.();
            server.close();
        },
    };
}
