"""The export phase: writes the data into the export folder and tells how far it is."""

import os
import time

import product_services
from exported_files import FileWriter, sizes_of_data
from questions import BadAnswer, Question

DEFAULT_BYTES = 1 << 20
QUESTIONS_AT = 10
SERVICES_AT = 15
DATA_FROM = 20
DATA_TO = 95


class Export:
    """One run, and the document that tells of it."""

    def __init__(self, machine, scenario, options, document, output, log):
        self.machine = machine
        self.scenario = scenario
        self.options = options
        self.document = document
        self.output = output
        self.log = log
        self.size = scenario.get('bytes', DEFAULT_BYTES)
        self.pause = machine.seconds(scenario.get('seconds', 0)) / (DATA_TO - DATA_FROM)
        self.told = {'status': 'running', 'progress': 0}

    def tell(self, progress, message, **more):
        """Writes the document anew, if it says something new."""
        told = {'status': 'running', 'progress': progress,
                'progressMessage': {'localized': message}, **more}
        if told != self.told:
            self.told = told
            self.output.write(told)

    def run(self):
        self.tell(0, 'Preparing the export')
        self.log.write(f'Exporting {self.size} bytes')
        self.ask_questions()
        self.stop_services()
        writer = self.write_data()
        if self.scenario.get('status', 'success') == 'success':
            self.end('success', exported={'folder': self.document.export_folder,
                                          'files': len(writer.entries), 'bytes': writer.bytes})
        else:
            self.end(self.scenario['status'],
                     error=error_member('The export has failed.',
                                        'Look into the log of the upgrade runner.'))

    def ask_questions(self):
        temp_folder = os.path.dirname(self.options.output_file)
        for described in self.scenario.get('questions', []):
            if self.options.silent:
                self.log.write(f'Question {described["id"]} is not asked')
                continue
            question = Question(described, self.machine, temp_folder, self.options.log_dir)
            self.tell(QUESTIONS_AT, 'Waiting for an answer', question=question.member)
            question.wait()
            self.log.write(f'Question {question.id} is answered')
            self.tell(QUESTIONS_AT, 'Going on with the answer')

    def stop_services(self):
        if self.scenario.get('stopsServices', True):
            self.tell(SERVICES_AT, 'Stopping the services')
            stopped = product_services.stop(self.machine, self.document.type)
            self.log.write(f'Stopped services: {", ".join(stopped)}')

    def write_data(self):
        folder = self.machine.place(self.document.export_folder)
        os.makedirs(folder, exist_ok=True)
        writer = FileWriter(folder, self.scenario.get('seed', 1))
        # Names and shapes of all kinds, whatever the size.
        writer.write_text('config/kelvd.cfg', f'type={self.document.type}\n')
        writer.write_text('config/empty.cfg', '')
        writer.write_text('config/sso/ostrel.local/Gr\u00f6\u00dfe \u8a66\u9a13 \U0001F511.txt',
                          'abc\n')
        for number, size in enumerate(sizes_of_data(self.size)):
            writer.write_data(f'keldb/data-{number:04}.bin', size, self.tell_of_bytes)
        writer.write_manifest()
        return writer

    def tell_of_bytes(self, count):
        share = min(1, count / max(1, self.size))
        progress = DATA_FROM + int(share * (DATA_TO - DATA_FROM))
        steps = progress - self.told['progress']
        self.tell(progress, 'Exporting the database')
        if steps > 0:
            time.sleep(steps * self.pause)

    def end(self, status, **more):
        """The final document. A status of null in the scenario leaves the member out."""
        document = {'progress': 100 if status == 'success' else self.told['progress'], **more}
        if status is not None:
            document['status'] = status
        self.output.write(document)
        self.log.write(f'The export has ended with status {status}')

    def give_up(self, text):
        """Ends the run with a failure that no scenario has planned. Returns the exit code."""
        self.log.write(text)
        self.end('error', error=error_member(text))
        return 1


def error_member(text, resolution=''):
    return {'text': {'localized': text}, 'resolution': {'localized': resolution}}


def run(machine, scenario, options, document, output, log):
    export = Export(machine, scenario, options, document, output, log)
    try:
        export.run()
    except BadAnswer as fault:
        return export.give_up(str(fault))
    except OSError as fault:
        return export.give_up(f'The export folder can\'t be written: {fault.strerror}.')
    return 0 if scenario.get('status', 'success') == 'success' else 1


def refusal(text):
    """What is written in place of progress when the input file is refused."""
    return {'status': 'error', 'progress': 0,
            'error': error_member(f'The input file of the upgrade runner is wrong. {text}')}
