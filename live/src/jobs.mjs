// A worker as a function: one promise for each message.

export class Cancelled extends Error {}

export class Jobs {
    constructor(source) {
        const address = URL.createObjectURL(new Blob([source], { type: 'text/javascript' }));
        this.worker = new Worker(address);
        URL.revokeObjectURL(address);
        this.lastId = 0;
        this.waiting = new Map();
        this.worker.onmessage = ({ data }) => this.answer(data);
        this.worker.onerror = (event) => {
            this.waiting.forEach(({ reject }) => reject(new Error(event.message || 'the worker stopped')));
            this.waiting.clear();
        };
    }

    answer({ id, progress, error, cancelled, ...rest }) {
        const job = this.waiting.get(id);
        if (!job) {
            return;
        }
        if (progress !== undefined) {
            job.progress?.(progress);
            return;
        }
        this.waiting.delete(id);
        if (error !== undefined) {
            job.reject(cancelled ? new Cancelled(error) : new Error(error));
        } else {
            job.resolve(rest);
        }
    }

    send(message, progress, transfer = []) {
        const id = ++this.lastId;
        return new Promise((resolve, reject) => {
            this.waiting.set(id, { resolve, reject, progress });
            this.worker.postMessage({ ...message, id }, transfer);
        });
    }
}
