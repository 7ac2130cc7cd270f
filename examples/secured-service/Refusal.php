<?php
declare(strict_types=1);

/** A refusal whose message is for the client: a fixed text without paths and other details of the service. */
final class Refusal extends RuntimeException
{
}
